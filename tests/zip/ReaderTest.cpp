// The reader on archives in memory: CRC-32 and raw DEFLATE, the fast paths against their references
// on the same bytes, then archives made byte by byte, damaged in every way the reader must notice,
// each with its message.
#include <gtest/gtest.h>

#include <optional>

#include "support/Files.h"
#include "zip/Crc32.h"
#include "zip/Fixtures.h"
#include "zip/ZipReader.h"
#include "zip/ZlibInflate.h"

namespace velmora {
namespace {

namespace fs = std::filesystem;
using namespace test;

// The fast register is checked further on long inputs by every entry the other tests write.
TEST(ZipCrc, TableAndFastRegistersGiveTheCheckValueInAnyPieces) {
    for (const auto crc32 : {ZipReader::crc32, zip::fastCrc32}) {
        EXPECT_EQ(~crc32(asBytes("123456789"), 0xFFFFFFFF), 0xCBF43926U);
        EXPECT_EQ(~crc32(asBytes("56789"), crc32(asBytes("1234"), 0xFFFFFFFF)), 0xCBF43926U);
    }
}

// What a decoder made of a stream: the size of each piece it emitted, the output, the failure text.
struct Outcome {
    std::vector<std::size_t> pieces;
    std::string output;
    std::string failure;
};

template <class Inflate>
Outcome decode(Inflate inflate, std::string_view stream) {
    Outcome outcome;
    try {
        inflate(asBytes(stream), [&](std::span<const std::byte> piece) {
            outcome.pieces.push_back(piece.size());
            outcome.output.append(reinterpret_cast<const char*>(piece.data()), piece.size());
        });
    } catch (const ZipReader::Failure& failure) {
        outcome.failure = failure.what();
    }
    return outcome;
}

TEST(ZipInflate, DecodesLikeZlibInStepsOfFourMiB) {
    constexpr std::size_t step = ZipReader::stepSize;
    const std::string large = patterned(2 * step + 12345, 9);
    const std::string small = patterned(300'000, 4);
    const std::string good = rawDeflate(small);
    const std::string fixed = "fixed Huffman codes, fixed Huffman codes";
    ASSERT_EQ(rawDeflate(fixed)[0] & 6, 2);  // block type 01: zlib chose the fixed codes
    auto flipped = [&](std::size_t at) { return good.substr(0, at) + char(~good[at]) + good.substr(at + 1); };
    const std::string noProgress = "The archive is damaged (decompressor made no progress).";
    const std::string badData = "The archive is damaged (compressed data).";
    struct Case {
        const char* label;
        std::string stream;
        std::optional<std::string> failure;  // none: whatever zlib says
    };
    const std::vector<Case> cases = {
        {"empty content", rawDeflate(""), ""},
        {"dynamic Huffman", good, ""},
        {"fixed Huffman", rawDeflate(fixed), ""},
        {"stored blocks", rawDeflate(small, 0), ""},
        {"bytes after the end are ignored", good + "trailing", ""},
        {"over 8 MiB of output", rawDeflate(large), ""},
        {"exactly 4 MiB", rawDeflate(large.substr(0, step)), ""},
        {"empty stream", "", noProgress},
        {"reserved block type", "\x07\x00\x00\x00", badData},
        {"stored block with a bad length check", std::string("\x01\x05\x00\x00\x00hello", 10), badData},
        {"distance before the start", std::string("\x03\x02\x00", 3), badData},
        {"cut before the last byte", good.substr(0, good.size() - 1), noProgress},
        {"flipped first byte", flipped(0), std::nullopt},
        {"flipped byte in the middle", flipped(good.size() / 2), std::nullopt},
        {"flipped last byte", flipped(good.size() - 1), std::nullopt},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        const Outcome isal = decode(ZipReader::inflate, c.stream);
        const Outcome zlib = decode(zip::zlibInflate, c.stream);
        EXPECT_EQ(isal.failure, c.failure.value_or(zlib.failure));
        EXPECT_EQ(isal.failure, zlib.failure);
        // A flip may still decode to something (then only the CRC-32 can tell): the same thing. What
        // came out before a failure may differ; the writer decodes a failing entry again with zlib.
        if (isal.failure.empty()) {
            EXPECT_TRUE(isal.output == zlib.output && isal.pieces == zlib.pieces);
        }
    }
    const std::vector<std::size_t> steps = {step, step, 12345};
    EXPECT_EQ(decode(ZipReader::inflate, rawDeflate(large)).pieces, steps);
}

// The names of the entries, each written to `file` in turn, or the text of the first failure.
std::string outcome(const std::string& bytes, const fs::path& file) {
    std::string names;
    try {
        for (const auto& entry : ZipReader::entries(asBytes(bytes))) {
            ZipReader::write(entry, asBytes(bytes), file);
            names += entry.name + ";";
        }
    } catch (const ZipReader::Failure& failure) {
        return failure.what();
    }
    return names;
}

// `zip` with a field of its first central record changed.
std::string central(const HandZip& zip, std::size_t field, std::uint32_t value, int width = 4) {
    return patched(zip.bytes, zip.directory + field, value, width);
}

TEST(ZipDamaged, EachArchiveGivesItsNamesOrItsMessage) {
    const HandZip good = handZip({{"a.txt", "alpha"}, {"b.txt", patterned(3000, 1), 6}, {"dir/", ""}});
    const HandZip none = handZip({}), letters = handZip({{"f.dat", "abcdefgh"}});
    const HandZip bomb = handZip({{"bomb.dat", std::string(10'000'000, 0), 6}});
    // A zip64 locator before the end record, whose directory offset says "see the zip64 record".
    std::string zip64 = patched(good.bytes, good.end + endOffset, 0xFFFFFFFF);
    zip64.insert(good.end, std::string("PK\x06\x07", 4) + std::string(12, '\0') + std::string("\1\0\0\0", 4));
    auto flipped = [](std::string bytes) { return bytes.replace(bytes.find("abcdefgh"), 8, "abcXefgh"); };
    const std::string notAZip = "The download is not a zip archive.";
    const std::string encrypted = "The archive uses encryption, which is not supported.";
    const std::string damaged = "The archive is damaged (central directory).";
    const std::string checksum = "The archive is damaged (checksum of f.dat).";
    const std::string header = "The archive is damaged (header of f.dat).";
    const std::string body = "The archive is damaged (body of f.dat).";
    const std::string noHeader = central(letters, centralLocalOffset, 1);
    struct Case {
        const char* label;
        std::string bytes;
        std::string outcome;
    };
    const std::vector<Case> cases = {
        {"shorter than an end record", std::string(21, 'P'), notAZip},
        {"total 0: nothing else is looked at", patched(none.bytes, endDisk, 0x00010001), ""},
        {"65,978 bytes after the end record", good.bytes + std::string(65978, 'c'), "a.txt;b.txt;dir/;"},
        {"65,979 bytes after the end record", good.bytes + std::string(65979, 'c'), notAZip},
        {"the end record nearest the end wins", good.bytes + none.bytes, ""},
        {"total smaller than the records", patched(good.bytes, good.end + endTotal, 2, 2), "a.txt;b.txt;"},
        {"total larger than the records", patched(good.bytes, good.end + endTotal, 4, 2), damaged},
        {"40 bytes after the offset", patched(good.bytes, good.end + endOffset, good.end - 18), damaged},
        {"wrong central signature", central(good, 2, 3, 1), damaged},
        {"truncated central directory",
         good.bytes.substr(0, good.directory + 60) + good.bytes.substr(good.end), damaged},
        {"name running past the end", central(good, centralNameLength, 0x7FFF, 2), damaged},
        {"ill-formed UTF-8",
         handZip({{"caf\xE9", ""}, {"\xF0\x9F\x98.a\xC0\xAF", ""}, {"\xED\xA0\x80", ""}, {"d\xC3\xA9/", ""}})
             .bytes,
         "caf\uFFFD;\uFFFD.a\uFFFD\uFFFD;\uFFFD\uFFFD\uFFFD;d\u00E9/;"},
        {"zip64 end records", zip64, "The archive uses zip64 extensions, which is not supported."},
        {"zip64 entry size", central(good, centralUncompressed, 0xFFFFFFFF),
         "The archive uses zip64 extensions, which is not supported."},
        {"encrypted", central(good, centralFlags, 1, 2), encrypted},
        {"strong encryption flag alone", central(good, centralFlags, 0x40, 2), encrypted},
        // Its central directory encrypted, an archive has only zip64 records to show, and local
        // headers flagged encrypted, strongly encrypted and masked.
        {"encrypted central directory", patched(zip64, 6, 0x2041, 2), encrypted},
        {"second disk", patched(good.bytes, good.end + endDisk, 0x00010001),
         "The archive uses multiple disks, which is not supported."},
        {"offset at no local header", noHeader, header},
        {"offset far outside", central(letters, centralLocalOffset, 0xFFFFFFFE), header},
        {"body one byte past the end", central(letters, centralCompressed, letters.bytes.size() - 34), body},
        {"local extra one byte too long",
         patched(letters.bytes, localExtraLength, letters.bytes.size() - 42, 2), body},
        {"flipped stored byte", flipped(letters.bytes), checksum},
        {"flipped byte in stored blocks", flipped(handZip({{"f.dat", "abcdefgh", 0}}).bytes), checksum},
        {"unknown method", central(letters, centralMethod, 12, 2), "The archive uses compression method 12."},
        {"length before checksum", flipped(central(letters, centralUncompressed, 9)),
         "The archive is damaged (f.dat is 8 bytes, expected 9)."},
        {"decompression bomb stopped at the first step over its size",
         central(bomb, centralUncompressed, 1000),
         "The archive is damaged (bomb.dat is 4194304 bytes, expected 1000)."},
        {"deflated body cut after a step's output",
         central(bomb, centralCompressed, (bomb.directory - 38) / 2),
         "The archive is damaged (decompressor made no progress)."},
    };
    TempDir dir;
    for (const auto& c : cases) EXPECT_EQ(outcome(c.bytes, dir / "out"), c.outcome) << c.label;
    // What the fast decoder wrote before failing is dropped before zlib decodes the entry again.
    EXPECT_LT(fs::file_size(dir / "out"), 2 * ZipReader::stepSize);
    // A body that cannot be found fails before the file is touched.
    writeFile(dir / "out", "previous");
    EXPECT_EQ(outcome(noHeader, dir / "out"), header);
    EXPECT_EQ(readFile(dir / "out"), "previous");
}

}  // namespace
}  // namespace velmora
