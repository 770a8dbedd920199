#include "zip/HandZip.h"

#include "zip/Fixtures.h"

namespace velmora::test {
namespace {

struct Writer {
    std::vector<std::byte>& out;

    void u16(std::uint32_t value) { little(value, 2); }
    void u32(std::uint32_t value) { little(value, 4); }
    void text(const std::string& bytes) {
        for (const char c : bytes) out.push_back(static_cast<std::byte>(c));
    }
    void little(std::uint32_t value, int width) {
        for (int i = 0; i < width; ++i) out.push_back(static_cast<std::byte>((value >> (8 * i)) & 0xFF));
    }
};

void localHeader(Writer& w, const HandEntry& e) {
    w.u32(0x04034B50);
    w.u16(20);
    w.u16(e.flags);
    w.u16(e.method);
    w.u32(0);  // time, date
    w.u32(e.crc);
    w.u32(e.compressedSize);
    w.u32(e.uncompressedSize);
    w.u16(static_cast<std::uint32_t>(e.name.size()));
    w.u16(static_cast<std::uint32_t>(e.localExtra.size()));
    w.text(e.name);
    w.text(e.localExtra);
    w.text(e.data);
}

void centralRecord(Writer& w, const HandEntry& e, std::size_t localOffset) {
    w.u32(0x02014B50);
    w.u16(20);
    w.u16(20);
    w.u16(e.flags);
    w.u16(e.method);
    w.u32(0);
    w.u32(e.crc);
    w.u32(e.compressedSize);
    w.u32(e.uncompressedSize);
    w.u16(static_cast<std::uint32_t>(e.name.size()));
    w.u16(static_cast<std::uint32_t>(e.centralExtra.size()));
    w.u16(0);  // comment
    w.u16(0);  // start disk
    w.u16(0);
    w.u32(0);
    w.u32(static_cast<std::uint32_t>(localOffset));
    w.text(e.name);
    w.text(e.centralExtra);
}

void endRecord(Writer& w, std::uint16_t total, std::uint32_t size, std::uint32_t offset, const HandEnd& end) {
    w.u32(0x06054B50);
    w.u16(end.thisDisk);
    w.u16(end.directoryDisk);
    w.u16(total);
    w.u16(total);
    w.u32(size);
    w.u32(offset);
    w.u16(static_cast<std::uint32_t>(std::min<std::size_t>(end.trailer.size(), 0xFFFF)));
}

}  // namespace

HandEntry HandEntry::stored(std::string name, std::string content) {
    HandEntry e;
    e.crc = referenceCrc(content);
    e.compressedSize = e.uncompressedSize = static_cast<std::uint32_t>(content.size());
    e.name = std::move(name);
    e.data = std::move(content);
    return e;
}

HandEntry HandEntry::deflated(std::string name, const std::string& content, int level) {
    HandEntry e;
    e.name = std::move(name);
    e.method = 8;
    e.crc = referenceCrc(content);
    e.data = rawDeflate(content, level);
    e.compressedSize = static_cast<std::uint32_t>(e.data.size());
    e.uncompressedSize = static_cast<std::uint32_t>(content.size());
    return e;
}

HandZip buildZip(const std::vector<HandEntry>& entries, const HandEnd& end) {
    HandZip zip;
    Writer w{zip.bytes};
    for (const auto& e : entries) {
        zip.localOffsets.push_back(zip.bytes.size());
        localHeader(w, e);
    }
    zip.directoryOffset = zip.bytes.size();
    for (std::size_t i = 0; i < entries.size(); ++i) centralRecord(w, entries[i], zip.localOffsets[i]);
    const auto size = static_cast<std::uint32_t>(zip.bytes.size() - zip.directoryOffset);
    if (end.zip64Locator) {
        w.u32(0x07064B50);
        w.u32(0);
        w.u32(0);
        w.u32(0);
        w.u32(1);
    }
    zip.endOffset = zip.bytes.size();
    endRecord(w, end.total.value_or(static_cast<std::uint16_t>(entries.size())), end.directorySize.value_or(size),
              end.directoryOffset.value_or(static_cast<std::uint32_t>(zip.directoryOffset)), end);
    w.text(end.trailer);
    return zip;
}

std::vector<std::byte> endRecordOnly(std::uint16_t total, std::uint32_t directoryOffset) {
    HandEnd end;
    end.total = total;
    end.directoryOffset = directoryOffset;
    return buildZip({}, end).bytes;
}

}  // namespace velmora::test
