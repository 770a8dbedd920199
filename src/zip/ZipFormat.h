#pragma once

#include <cstdint>

// Record layouts of the zip format, as far as the reader uses them. All fields little-endian.
namespace velmora::zip::format {

// End of central directory: 22 bytes, then a comment of up to 65,535 bytes.
//   0 signature, 4 this disk, 6 disk of the central directory, 8 records on this disk,
//   10 total records, 12 directory size, 16 directory offset, 20 comment length.
inline constexpr std::uint32_t endSignature = 0x06054B50;
inline constexpr std::uint64_t endSize = 22;
// The end record is searched for in the last 66,000 bytes: room for the record and the
// largest comment the format allows, with some slack.
inline constexpr std::uint64_t endSearchWindow = 66'000;

// Zip64 end-of-central-directory locator: 20 bytes, written just before the end record.
inline constexpr std::uint32_t zip64LocatorSignature = 0x07064B50;
inline constexpr std::uint64_t zip64LocatorSize = 20;
// A 32-bit size or offset with all bits set means the real value lives in a zip64 field.
inline constexpr std::uint32_t zip64Marker = 0xFFFFFFFF;

// Central-directory record: 46 bytes, then name (n), extra field (e) and comment (c).
//   0 signature, 4 version made by, 6 version needed, 8 flags, 10 method, 12 time, 14 date,
//   16 CRC-32, 20 compressed size, 24 uncompressed size, 28 n, 30 e, 32 c, 34 start disk,
//   36 internal attributes, 38 external attributes, 42 local header offset.
inline constexpr std::uint32_t centralSignature = 0x02014B50;
inline constexpr std::uint64_t centralSize = 46;

// Local file header: 30 bytes, then name and extra field, then the entry's data.
//   0 signature, 4..25 version, flags, method, time, date, CRC-32, sizes (not read),
//   26 name length, 28 extra field length.
inline constexpr std::uint32_t localSignature = 0x04034B50;
inline constexpr std::uint64_t localSize = 30;

// General-purpose flags that mean encryption: bit 0 (the entry is encrypted), bit 6 (strong
// encryption) and bit 13 (the central directory is encrypted and local headers are masked).
inline constexpr std::uint16_t encryptionFlags = 0x2041;
// The general-purpose flag (bit 3) of an entry whose CRC-32 and sizes follow its data instead of
// standing in its local header.
inline constexpr std::uint16_t dataDescriptorFlag = 0x0008;
// Where a local header keeps its flags.
inline constexpr std::uint64_t localFlagsOffset = 6;

inline constexpr std::uint16_t stored = 0;
inline constexpr std::uint16_t deflated = 8;

}  // namespace velmora::zip::format
