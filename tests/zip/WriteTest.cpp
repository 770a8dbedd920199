// Writing one entry: lengths, checksums, methods, and what is found at the destination.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <optional>

#include "support/Files.h"
#include "zip/Fixtures.h"
#include "zip/HandZip.h"
#include "zip/ZipReader.h"

namespace velmora {
namespace {

namespace fs = std::filesystem;
using test::HandEntry;

// Writes the only entry of an archive made of `entry` to `destination`; the failure text, if any.
std::optional<std::string> writeOnly(const HandEntry& entry, const fs::path& destination) {
    const auto zip = test::buildZip({entry});
    try {
        ZipReader::write(ZipReader::entries(zip.bytes).at(0), zip.bytes, destination);
        return std::nullopt;
    } catch (const ZipReader::Failure& failure) {
        return failure.what();
    }
}

HandEntry flippedStored() {
    auto entry = HandEntry::stored("flip.dat", "abcdefgh");
    entry.data[3] = 'X';
    return entry;
}

HandEntry withSizes(HandEntry entry, std::uint32_t compressed, std::uint32_t uncompressed) {
    entry.compressedSize = compressed;
    entry.uncompressedSize = uncompressed;
    return entry;
}

HandEntry withMethod(HandEntry entry, std::uint16_t method) {
    entry.method = method;
    return entry;
}

TEST(ZipWrite, VerifiesLengthThenChecksum) {
    const std::string content = test::patterned(ZipReader::stepSize + 1, 8);
    const std::string tenMegabytesOfZeros(10'000'000, '\0');
    auto cut = HandEntry::deflated("cut.dat", content);
    cut.data.resize(cut.data.size() / 2);
    cut.compressedSize = static_cast<std::uint32_t>(cut.data.size());
    auto flippedDeflate = HandEntry::deflated("level0.dat", "abcdefgh", 0);
    flippedDeflate.data[flippedDeflate.data.size() - 2] ^= 1;
    auto shortAndWrong = withSizes(flippedStored(), 8, 9);

    struct Case {
        const char* label;
        HandEntry entry;
        std::optional<std::string> failure;
        std::string written;      // what the file holds afterwards
        bool writtenInPart = false;  // the file holds a non-empty start of `written`
    };
    const std::vector<Case> cases = {
        {"empty stored entry", HandEntry::stored("empty", ""), std::nullopt, ""},
        {"stored, one byte over a step", HandEntry::stored("big.dat", content), std::nullopt, content},
        {"deflated, one byte over a step", HandEntry::deflated("big.dat", content), std::nullopt, content},
        {"flipped byte in stored data", flippedStored(), "The archive is damaged (checksum of flip.dat).", "abcXefgh"},
        {"flipped byte in deflated data", flippedDeflate, "The archive is damaged (checksum of level0.dat).",
         "abcdeffh"},
        {"unknown method", withMethod(HandEntry::stored("m.dat", "data"), 12), "The archive uses compression method 12.",
         ""},
        {"stored sizes that differ", withSizes(HandEntry::stored("s.dat", "0123456789"), 10, 12),
         "The archive is damaged (s.dat is 10 bytes, expected 12).", "0123456789"},
        {"length is tested before the checksum", shortAndWrong, "The archive is damaged (flip.dat is 8 bytes, expected 9).",
         "abcXefgh"},
        {"deflated body cut short", cut, "The archive is damaged (decompressor made no progress).", content, true},
        {"decompression bomb stopped at the first step over its size",
         withSizes(HandEntry::deflated("bomb.dat", tenMegabytesOfZeros), 0, 1000),
         "The archive is damaged (bomb.dat is 4194304 bytes, expected 1000).", ""},
    };
    test::TempDir dir;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        auto entry = c.entry;
        if (entry.compressedSize == 0) entry.compressedSize = static_cast<std::uint32_t>(entry.data.size());
        const fs::path file = dir / "out.dat";
        test::writeFile(file, "previous contents, longer than some entries");
        EXPECT_EQ(writeOnly(entry, file), c.failure);
        const std::string written = test::readFile(file);
        if (c.writtenInPart) {
            EXPECT_TRUE(!written.empty() && written.size() < c.written.size() && c.written.starts_with(written));
        } else {
            EXPECT_TRUE(written == c.written) << written.size() << " bytes written";
        }
    }
}

TEST(ZipWrite, NeverFollowsALinkOrOpensASpecialFile) {
    test::TempDir dir;
    test::writeFile(dir / "outside.txt", "keep me");
    fs::create_symlink(dir / "outside.txt", dir / "link.dat");
    ASSERT_EQ(::mkfifo((dir / "fifo.dat").c_str(), 0600), 0);
    fs::create_directory(dir / "folder.dat");
    const auto entry = HandEntry::stored("x.dat", "hostile");
    for (const char* name : {"link.dat", "fifo.dat", "folder.dat", "missing/x.dat"}) {
        SCOPED_TRACE(name);
        EXPECT_THROW(writeOnly(entry, dir / name), fs::filesystem_error);
    }
    EXPECT_EQ(test::readFile(dir / "outside.txt"), "keep me");
    EXPECT_TRUE(fs::is_symlink(dir / "link.dat"));
    EXPECT_TRUE(fs::is_fifo(dir / "fifo.dat"));
}

TEST(ZipWrite, BodyFailuresComeBeforeTheFileIsTouched) {
    test::TempDir dir;
    auto zip = test::buildZip({HandEntry::stored("a.dat", "alpha")});
    auto entry = ZipReader::entries(zip.bytes).at(0);
    entry.localHeaderOffset += 1;
    test::writeFile(dir / "a.dat", "untouched");
    EXPECT_THROW(ZipReader::write(entry, zip.bytes, dir / "a.dat"), ZipReader::Failure);
    EXPECT_EQ(test::readFile(dir / "a.dat"), "untouched");
}

}  // namespace
}  // namespace velmora
