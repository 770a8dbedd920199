#include "zip/Fixtures.h"

#include <algorithm>
#include <random>
#include <zlib.h>

namespace velmora::test {
namespace {

void append(std::string& bytes, std::size_t value, int width) {
    for (int i = 0; i < width; ++i) bytes.push_back(static_cast<char>((value >> (8 * i)) & 0xFF));
}

}  // namespace

std::span<const std::byte> asBytes(std::string_view text) {
    return {reinterpret_cast<const std::byte*>(text.data()), text.size()};
}

std::string patterned(std::size_t size, unsigned seed) {
    std::mt19937 random(seed);
    std::string text(size, '\0');
    for (auto& c : text) c = static_cast<char>(random() % 3 == 0 ? random() : "voice unit pitch "[random() % 17]);
    return text;
}

std::string rawDeflate(std::string_view data, int level) {
    uLongf size = compressBound(data.size());
    std::string wrapped(size, '\0');
    compress2(reinterpret_cast<Bytef*>(wrapped.data()), &size, reinterpret_cast<const Bytef*>(data.data()),
              data.size(), level);
    return wrapped.substr(2, size - 6);  // without the zlib header and checksum
}

HandZip handZip(const std::vector<HandEntry>& entries, std::string_view trailer) {
    HandZip zip;
    std::string central;
    for (const auto& e : entries) {
        const std::string data = e.level < 0 ? e.content : rawDeflate(e.content, e.level);
        std::string fields;  // from "version needed" to the extra field's length: alike in both headers
        append(fields, 20, 2);
        append(fields, 0, 2);  // flags
        append(fields, e.level < 0 ? 0 : 8, 2);
        append(fields, 0, 4);  // time, date
        append(fields, crc32(0, reinterpret_cast<const Bytef*>(e.content.data()), e.content.size()), 4);
        append(fields, data.size(), 4);
        append(fields, e.content.size(), 4);
        append(fields, e.name.size(), 4);  // the name's length, then no extra field
        append(central, 0x02014B50, 4);
        append(central, 20, 2);  // version made by
        central += fields + std::string(10, '\0');  // comment, disk, attributes
        append(central, zip.bytes.size(), 4);
        central += e.name;
        append(zip.bytes, 0x04034B50, 4);
        zip.bytes += fields + e.name + data;
    }
    zip.directory = zip.bytes.size();
    zip.end = zip.directory + central.size();
    zip.bytes += central;
    append(zip.bytes, 0x06054B50, 4);
    append(zip.bytes, 0, 4);  // disks
    append(zip.bytes, entries.size(), 2);
    append(zip.bytes, entries.size(), 2);
    append(zip.bytes, central.size(), 4);
    append(zip.bytes, zip.directory, 4);
    append(zip.bytes, std::min<std::size_t>(trailer.size(), 0xFFFF), 2);
    zip.bytes += trailer;
    return zip;
}

std::string patched(std::string bytes, std::size_t at, std::uint32_t value, int width) {
    std::string field;
    append(field, value, width);
    return bytes.replace(at, static_cast<std::size_t>(width), field);
}

}  // namespace velmora::test
