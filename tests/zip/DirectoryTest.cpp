// Listing the central directory and locating entry bodies, on archives made byte by byte.
#include <gtest/gtest.h>

#include <functional>
#include <optional>

#include "zip/Fixtures.h"
#include "zip/HandZip.h"
#include "zip/ZipReader.h"

namespace velmora {
namespace {

using test::buildZip;
using test::HandEnd;
using test::HandEntry;

std::vector<HandEntry> threeEntries() {
    return {HandEntry::stored("a.txt", "alpha"), HandEntry::deflated("dir/b.txt", test::patterned(3000, 1)),
            HandEntry::stored("dir/", "")};
}

std::vector<std::string> names(const std::vector<ZipReader::Entry>& entries) {
    std::vector<std::string> list;
    for (const auto& entry : entries) list.push_back(entry.name);
    return list;
}

struct ListingCase {
    const char* label;
    std::function<std::vector<std::byte>()> archive;
    std::vector<std::string> names;  // expected names, when no failure is expected
    std::optional<std::string> failure;
};

HandEnd withTotal(std::uint16_t total) {
    HandEnd end;
    end.total = total;
    return end;
}

std::vector<std::byte> damagedAt(std::vector<std::byte> bytes, std::size_t offset, std::uint8_t value) {
    bytes.at(offset) = std::byte{value};
    return bytes;
}

const std::vector<ListingCase>& listingCases() {
    static const std::vector<ListingCase> cases = {
        {"shorter than an end record", [] { return std::vector<std::byte>(21, std::byte{0x50}); }, {},
         "The download is not a zip archive."},
        {"empty buffer", [] { return std::vector<std::byte>{}; }, {}, "The download is not a zip archive."},
        {"end record alone", [] { return test::endRecordOnly(0, 0); }, {}, std::nullopt},
        {"total 0 with an offset outside the buffer", [] { return test::endRecordOnly(0, 0xFFFFFFF0); }, {},
         std::nullopt},
        {"65,535-byte comment", [] {
             HandEnd end;
             end.trailer = std::string(65535, 'c');
             return buildZip(threeEntries(), end).bytes;
         }, {"a.txt", "dir/b.txt", "dir/"}, std::nullopt},
        {"65,978 bytes after the record: last place searched", [] {
             HandEnd end;
             end.trailer = std::string(65978, 'c');
             return buildZip(threeEntries(), end).bytes;
         }, {"a.txt", "dir/b.txt", "dir/"}, std::nullopt},
        {"65,979 bytes after the record: beyond the search", [] {
             HandEnd end;
             end.trailer = std::string(65979, 'c');
             return buildZip(threeEntries(), end).bytes;
         }, {}, "The download is not a zip archive."},
        {"a second end record in the comment wins", [] {
             HandEnd end;
             const auto inner = test::endRecordOnly(0, 0);
             end.trailer = std::string(reinterpret_cast<const char*>(inner.data()), inner.size());
             return buildZip(threeEntries(), end).bytes;
         }, {}, std::nullopt},
        {"total smaller than the records", [] { return buildZip(threeEntries(), withTotal(2)).bytes; },
         {"a.txt", "dir/b.txt"}, std::nullopt},
        {"total larger than the records", [] { return buildZip(threeEntries(), withTotal(4)).bytes; }, {},
         "The archive is damaged (central directory)."},
        {"directory offset leaves fewer than 46 bytes", [] {
             auto zip = buildZip(threeEntries());
             HandEnd end;
             end.directoryOffset = static_cast<std::uint32_t>(zip.bytes.size() - 40);
             return buildZip(threeEntries(), end).bytes;
         }, {}, "The archive is damaged (central directory)."},
        {"wrong central signature", [] {
             const auto zip = buildZip(threeEntries());
             return damagedAt(zip.bytes, zip.directoryOffset + 2, 0x03);
         }, {}, "The archive is damaged (central directory)."},
        {"truncated central directory", [] {
             auto bytes = buildZip(threeEntries()).bytes;
             const auto end = test::endRecordOnly(3, static_cast<std::uint32_t>(buildZip(threeEntries()).directoryOffset));
             bytes.resize(buildZip(threeEntries()).directoryOffset + 60);
             bytes.insert(bytes.end(), end.begin(), end.end());
             return bytes;
         }, {}, "The archive is damaged (central directory)."},
        {"name running past the end of the buffer", [] {
             std::vector<HandEntry> entries = {HandEntry::stored("a.txt", "alpha")};
             auto zip = buildZip(entries);
             // Name length 0x7FFF in the only record: the name would run past the buffer.
             zip.bytes[zip.directoryOffset + 28] = std::byte{0xFF};
             zip.bytes[zip.directoryOffset + 29] = std::byte{0x7F};
             return zip.bytes;
         }, {}, "The archive is damaged (central directory)."},
        {"ill-formed UTF-8 names", [] {
             return buildZip({HandEntry::stored("caf\xE9.txt", "x"), HandEntry::stored("\xF0\x9F\x98.a\xC0\xAF", "y"),
                              HandEntry::stored("\xED\xA0\x80", "z"), HandEntry::stored("d\xC3\xA9j\xC3\xA0/", "")})
                 .bytes;
         }, {"caf\uFFFD.txt", "\uFFFD.a\uFFFD\uFFFD", "\uFFFD\uFFFD\uFFFD", "d\u00E9j\u00E0/"}, std::nullopt},
        {"zip64 marker with a zip64 locator", [] {
             HandEnd end;
             end.zip64Locator = true;
             end.directoryOffset = 0xFFFFFFFF;
             return buildZip(threeEntries(), end).bytes;
         }, {}, "The archive uses zip64 extensions, which is not supported."},
        {"zip64 locator whose values all fit", [] {
             HandEnd end;
             end.zip64Locator = true;
             return buildZip(threeEntries(), end).bytes;
         }, {"a.txt", "dir/b.txt", "dir/"}, std::nullopt},
        {"entry size marked as zip64", [] {
             auto entries = threeEntries();
             entries[1].uncompressedSize = 0xFFFFFFFF;
             return buildZip(entries).bytes;
         }, {}, "The archive uses zip64 extensions, which is not supported."},
        {"encrypted entry", [] {
             auto entries = threeEntries();
             entries[0].flags = 0x0001;
             return buildZip(entries).bytes;
         }, {}, "The archive uses encryption, which is not supported."},
        {"second disk of a split archive", [] {
             HandEnd end;
             end.thisDisk = 1;
             end.directoryDisk = 1;
             return buildZip(threeEntries(), end).bytes;
         }, {}, "The archive uses multiple disks, which is not supported."},
    };
    return cases;
}

TEST(ZipDirectory, ListsOrRefusesEachArchive) {
    for (const auto& c : listingCases()) {
        SCOPED_TRACE(c.label);
        const auto bytes = c.archive();
        try {
            const auto entries = ZipReader::entries(bytes);
            EXPECT_FALSE(c.failure) << "listed " << entries.size() << " entries";
            EXPECT_EQ(names(entries), c.names);
        } catch (const ZipReader::Failure& failure) {
            EXPECT_EQ(std::optional<std::string>(failure.what()), c.failure);
        }
    }
}

TEST(ZipDirectory, TakesEveryFieldFromTheCentralRecord) {
    auto entries = threeEntries();
    entries[1].localExtra = std::string(9, 'x');  // longer than the central record's, which is empty
    const auto zip = buildZip(entries);
    const auto listed = ZipReader::entries(zip.bytes);
    ASSERT_EQ(listed.size(), 3U);
    const ZipReader::Entry expected{"dir/b.txt", 8, entries[1].compressedSize, 3000, entries[1].crc,
                                    static_cast<std::int64_t>(zip.localOffsets[1])};
    EXPECT_EQ(listed[1], expected);
    EXPECT_EQ(test::asText(ZipReader::body(listed[1], zip.bytes)), entries[1].data);
    EXPECT_EQ(test::asText(ZipReader::body(listed[0], zip.bytes)), "alpha");
    EXPECT_TRUE(ZipReader::body(listed[2], zip.bytes).empty());
}

TEST(ZipDirectory, RefusesBodiesThatDoNotFit) {
    const auto zip = buildZip(threeEntries());
    const auto good = ZipReader::entries(zip.bytes)[1];
    struct Case {
        const char* label;
        std::function<void(ZipReader::Entry&, std::vector<std::byte>&)> damage;
        const char* failure;
    };
    const std::vector<Case> cases = {
        {"header offset at anything but a local header", [](auto& e, auto&) { e.localHeaderOffset += 1; },
         "The archive is damaged (header of dir/b.txt)."},
        {"wrong local signature", [](auto& e, auto& b) { b[static_cast<std::size_t>(e.localHeaderOffset) + 3] = std::byte{9}; },
         "The archive is damaged (header of dir/b.txt)."},
        {"header offset leaves fewer than 30 bytes",
         [](auto& e, auto& b) { e.localHeaderOffset = static_cast<std::int64_t>(b.size()) - 29; },
         "The archive is damaged (header of dir/b.txt)."},
        {"header offset far outside", [](auto& e, auto&) { e.localHeaderOffset = 0xFFFFFFFE; },
         "The archive is damaged (header of dir/b.txt)."},
        {"body running past the end",
         [](auto& e, auto& b) { e.compressedSize = static_cast<std::int64_t>(b.size()); },
         "The archive is damaged (body of dir/b.txt)."},
        {"local extra field running past the end",
         [](auto& e, auto& b) { b[static_cast<std::size_t>(e.localHeaderOffset) + 29] = std::byte{0xFF}; },
         "The archive is damaged (body of dir/b.txt)."},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        auto entry = good;
        auto bytes = zip.bytes;
        c.damage(entry, bytes);
        try {
            ZipReader::body(entry, bytes);
            ADD_FAILURE() << "no failure";
        } catch (const ZipReader::Failure& failure) {
            EXPECT_EQ(failure.kind(), ZipReader::Failure::Kind::corrupt);
            EXPECT_STREQ(failure.what(), c.failure);
        }
    }
}

}  // namespace
}  // namespace velmora
