#pragma once

#include <zlib.h>

#include <cstddef>
#include <cstdint>
#include <random>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace velmora::test {

inline std::span<const std::byte> asBytes(std::string_view text) { return std::as_bytes(std::span(text)); }
// Deterministic, moderately compressible content.
inline std::string patterned(std::size_t size, unsigned seed) {
    std::mt19937 random(seed);
    std::string text(size, '\0');
    for (auto& c : text)
        c = static_cast<char>(random() % 3 == 0 ? random() : "voice unit pitch "[random() % 17]);
    return text;
}
// Raw DEFLATE of `data` by zlib (level 0 gives stored blocks).
inline std::string rawDeflate(std::string_view data, int level = 6) {
    uLongf size = compressBound(data.size());
    std::string wrapped(size, '\0');
    compress2(reinterpret_cast<Bytef*>(wrapped.data()), &size, reinterpret_cast<const Bytef*>(data.data()),
              data.size(), level);
    return wrapped.substr(2, size - 6);  // without the zlib header and checksum
}

// Each value as a little-endian field of its width in bytes.
inline std::string little(std::initializer_list<std::pair<std::size_t, int>> fields) {
    std::string bytes;
    for (const auto& [value, width] : fields)
        for (int i = 0; i < width; ++i) bytes.push_back(static_cast<char>((value >> (8 * i)) & 0xFF));
    return bytes;
}

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
inline HandZip handZip(const std::vector<HandEntry>& entries) {
    HandZip zip;
    std::string central;
    for (const auto& e : entries) {
        const std::string data = e.level < 0 ? e.content : rawDeflate(e.content, e.level);
        const auto crc = crc32(0, reinterpret_cast<const Bytef*>(e.content.data()), e.content.size());
        // Alike in both headers: version needed, flags, method, time and date, CRC-32, sizes, name
        // and extra field lengths.
        // clang-format off
        const std::string fields = little({{20, 2}, {0, 2}, {e.level < 0 ? 0U : 8U, 2}, {0, 4}, {crc, 4},
                                           {data.size(), 4}, {e.content.size(), 4}, {e.name.size(), 2}, {0, 2}});
        // clang-format on
        // Signature, version made by, the fields, comment length, disk, attributes, local header offset.
        central += little({{0x02014B50, 4}, {20, 2}}) + fields + std::string(10, '\0') +
                   little({{zip.bytes.size(), 4}}) + e.name;
        zip.bytes += little({{0x04034B50, 4}}) + fields + e.name + data;
    }
    zip.directory = zip.bytes.size();
    zip.end = zip.directory + central.size();
    // Signature, disks, records on this disk and in all, directory size and offset, comment length.
    // clang-format off
    zip.bytes += central + little({{0x06054B50, 4}, {0, 4}, {entries.size(), 2}, {entries.size(), 2},
                                   {central.size(), 4}, {zip.directory, 4}, {0, 2}});
    // clang-format on
    return zip;
}

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
inline std::string patched(std::string bytes, std::size_t at, std::uint32_t value, int width = 4) {
    return bytes.replace(at, static_cast<std::size_t>(width), little({{value, width}}));
}

}  // namespace velmora::test
