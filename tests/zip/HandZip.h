#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace velmora::test {

// One entry of an archive written byte by byte, for cases no real writer produces.
struct HandEntry {
    std::string name;  // raw name bytes
    std::string data;  // the bytes stored in the archive (already deflated for method 8)
    std::uint16_t method = 0;
    std::uint16_t flags = 0;
    std::uint32_t crc = 0;
    std::uint32_t compressedSize = 0;
    std::uint32_t uncompressedSize = 0;
    std::string localExtra;
    std::string centralExtra;

    static HandEntry stored(std::string name, std::string content);
    static HandEntry deflated(std::string name, const std::string& content, int level = 6);
};

struct HandEnd {
    std::optional<std::uint16_t> total;             // default: the number of entries
    std::optional<std::uint32_t> directoryOffset;   // default: where the directory starts
    std::optional<std::uint32_t> directorySize;     // default: its real size
    std::uint16_t thisDisk = 0;
    std::uint16_t directoryDisk = 0;
    bool zip64Locator = false;  // a zip64 end-of-directory locator just before the end record
    std::string trailer;        // bytes after the end record (a comment, or anything)
};

struct HandZip {
    std::vector<std::byte> bytes;
    std::vector<std::size_t> localOffsets;
    std::size_t directoryOffset = 0;
    std::size_t endOffset = 0;
};

HandZip buildZip(const std::vector<HandEntry>& entries, const HandEnd& end = {});
// Only an end record (22 bytes) with the given total and directory offset.
std::vector<std::byte> endRecordOnly(std::uint16_t total, std::uint32_t directoryOffset);

}  // namespace velmora::test
