#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace velmora::test {

inline std::span<const std::byte> asBytes(std::string_view text) { return std::as_bytes(std::span(text)); }
// Deterministic, moderately compressible content.
std::string patterned(std::size_t size, unsigned seed);
// Raw DEFLATE of `data` by zlib (level 0 gives stored blocks).
std::string rawDeflate(std::string_view data, int level = 6);

// One entry of an archive written byte by byte, for the cases no real writer produces.
struct HandEntry {
    std::string name;     // raw name bytes
    std::string content;  // before compression
    int level = -1;       // -1: stored, else deflated by zlib at this level
};
struct HandZip {
    std::string bytes;
    std::size_t directory = 0;  // where the central directory starts
    std::size_t end = 0;        // where the end record starts
};
// Local headers and data, central records, then an end record.
HandZip handZip(const std::vector<HandEntry>& entries);

// Offsets of little-endian fields in a central record, a local header and the end record.
enum Field : std::size_t {
    centralFlags = 8,
    centralMethod = 10,
    centralCompressed = 20,
    centralUncompressed = 24,
    centralNameLength = 28,
    centralLocalOffset = 42,
    localExtraLength = 28,
    endDisk = 4,
    endTotal = 10,
    endOffset = 16,
};
// `bytes` with the `width`-byte field at `at` set to `value`.
std::string patched(std::string bytes, std::size_t at, std::uint32_t value, int width = 4);

}  // namespace velmora::test
