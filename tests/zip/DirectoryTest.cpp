// Listing the central directory and locating entry bodies, on archives made byte by byte.
#include <gtest/gtest.h>

#include <optional>

#include "zip/Fixtures.h"
#include "zip/ZipReader.h"

namespace velmora {
namespace {

using namespace test;

HandZip threeEntries(std::string_view trailer = {}) {
    return handZip({{"a.txt", "alpha"}, {"dir/b.txt", patterned(3000, 1), 6}, {"dir/", ""}}, trailer);
}

// Lists each archive and finds each entry's body, or fails with the exact message.
TEST(ZipDirectory, ListsOrRefusesEachArchive) {
    const HandZip three = threeEntries();
    const HandZip one = handZip({{"b.txt", "bravo"}});
    const std::size_t oneSize = one.bytes.size();
    const HandZip none = handZip({});
    // A zip64 locator before the end record, whose directory offset says "see the zip64 record".
    std::string zip64Marked = patched(three.bytes, three.end + endOffset, 0xFFFFFFFF);
    zip64Marked.insert(three.end, std::string("PK\x06\x07", 4) + std::string(12, '\0') + std::string("\1\0\0\0", 4));
    const std::vector<std::string> all = {"a.txt", "dir/b.txt", "dir/"};
    const std::string notAZip = "The download is not a zip archive.";
    const std::string damaged = "The archive is damaged (central directory).";
    struct Case {
        const char* label;
        std::string bytes;
        std::vector<std::string> names;
        std::optional<std::string> failure;
    };
    const std::vector<Case> cases = {
        {"shorter than an end record", std::string(21, 'P'), {}, notAZip},
        {"total 0 with an offset outside", patched(none.bytes, endOffset, 0xFFFFFFF0), {}, {}},
        {"65,978 bytes after the record: last place searched", threeEntries(std::string(65978, 'c')).bytes, all, {}},
        {"65,979 bytes after the record: beyond the search", threeEntries(std::string(65979, 'c')).bytes, {}, notAZip},
        {"a second end record in the comment wins", threeEntries(none.bytes).bytes, {}, {}},
        {"total smaller than the records", patched(three.bytes, three.end + endTotal, 2, 2), {"a.txt", "dir/b.txt"}, {}},
        {"total larger than the records", patched(three.bytes, three.end + endTotal, 4, 2), {}, damaged},
        {"offset leaves fewer than 46 bytes", patched(three.bytes, three.end + endOffset, three.end - 18), {}, damaged},
        {"wrong central signature", patched(three.bytes, three.directory + 2, 3, 1), {}, damaged},
        {"truncated central directory", three.bytes.substr(0, three.directory + 60) + three.bytes.substr(three.end), {},
         damaged},
        {"name running past the end", patched(three.bytes, three.directory + centralNameLength, 0x7FFF, 2), {}, damaged},
        {"ill-formed UTF-8 names",
         handZip({{"caf\xE9.txt", ""}, {"\xF0\x9F\x98.a\xC0\xAF", ""}, {"\xED\xA0\x80", ""}, {"d\xC3\xA9j\xC3\xA0/", ""}}).bytes,
         {"caf\uFFFD.txt", "\uFFFD.a\uFFFD\uFFFD", "\uFFFD\uFFFD\uFFFD", "d\u00E9j\u00E0/"}, {}},
        {"zip64 locator and marker", zip64Marked, {}, "The archive uses zip64 extensions, which is not supported."},
        {"entry size marked as zip64", patched(three.bytes, three.directory + centralUncompressed, 0xFFFFFFFF), {},
         "The archive uses zip64 extensions, which is not supported."},
        {"encrypted entry", patched(three.bytes, three.directory + centralFlags, 1, 2), {},
         "The archive uses encryption, which is not supported."},
        {"second disk of a split archive", patched(three.bytes, three.end + endDisk, 0x00010001), {},
         "The archive uses multiple disks, which is not supported."},
        {"offset at anything but a local header", patched(one.bytes, one.directory + centralLocalOffset, 1), {},
         "The archive is damaged (header of b.txt)."},
        {"offset far outside", patched(one.bytes, one.directory + centralLocalOffset, 0xFFFFFFFE), {},
         "The archive is damaged (header of b.txt)."},
        {"body running past the end", patched(one.bytes, one.directory + centralCompressed, oneSize - 34), {},
         "The archive is damaged (body of b.txt)."},
        {"local extra field running past the end", patched(one.bytes, localExtraLength, oneSize - 39, 2), {},
         "The archive is damaged (body of b.txt)."},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        try {
            std::vector<std::string> names;
            for (const auto& entry : ZipReader::entries(asBytes(c.bytes))) {
                ZipReader::body(entry, asBytes(c.bytes));
                names.push_back(entry.name);
            }
            EXPECT_FALSE(c.failure);
            EXPECT_EQ(names, c.names);
        } catch (const ZipReader::Failure& failure) {
            EXPECT_EQ(std::optional<std::string>(failure.what()), c.failure);
        }
    }
}

}  // namespace
}  // namespace velmora
