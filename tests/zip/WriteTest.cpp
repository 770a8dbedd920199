// Writing one entry: lengths, checksums, methods, and what is found at the destination.
#include <gtest/gtest.h>

#include <optional>

#include "support/Files.h"
#include "zip/Fixtures.h"
#include "zip/ZipReader.h"

namespace velmora {
namespace {

namespace fs = std::filesystem;
using namespace test;

// The archive of `entry` alone, with one field of its central record changed.
std::string single(const HandEntry& entry, std::size_t field = 0, std::uint32_t value = 0, int width = 4) {
    const auto zip = handZip({entry});
    return field == 0 ? zip.bytes : patched(zip.bytes, zip.directory + field, value, width);
}

// `bytes` with the fourth letter of its stored "abcdefgh" changed.
std::string flipped(std::string bytes) {
    bytes[bytes.find("abcdefgh") + 3] = 'X';
    return bytes;
}

// Writes the only entry of `bytes` to `destination`; the failure text, if any.
std::optional<std::string> writeOnly(const std::string& bytes, const fs::path& destination) {
    try {
        ZipReader::write(ZipReader::entries(asBytes(bytes)).at(0), asBytes(bytes), destination);
        return std::nullopt;
    } catch (const ZipReader::Failure& failure) {
        return failure.what();
    }
}

TEST(ZipWrite, VerifiesLengthThenChecksum) {
    const std::string content = patterned(ZipReader::stepSize + 1, 8);
    const std::string previous = "previous contents, longer than some entries";
    const HandEntry letters{"flip.dat", "abcdefgh"};
    struct Case {
        const char* label;
        std::string archive;
        std::optional<std::string> failure;
        std::optional<std::string> written;  // what the file holds afterwards, when it is known
    };
    const std::vector<Case> cases = {
        {"empty stored entry", single({"empty", ""}), std::nullopt, ""},
        {"flipped byte in stored data", flipped(single(letters)), "The archive is damaged (checksum of flip.dat).",
         "abcXefgh"},
        {"flipped byte in deflated data", flipped(single({"flip.dat", "abcdefgh", 0})),
         "The archive is damaged (checksum of flip.dat).", "abcXefgh"},
        {"unknown method", single(letters, centralMethod, 12, 2), "The archive uses compression method 12.", ""},
        {"length is tested before the checksum", flipped(single(letters, centralUncompressed, 9)),
         "The archive is damaged (flip.dat is 8 bytes, expected 9).", "abcXefgh"},
        {"deflated body cut short",
         single({"cut.dat", content, 6}, centralCompressed, static_cast<std::uint32_t>(rawDeflate(content).size() / 2)),
         "The archive is damaged (decompressor made no progress).", std::nullopt},
        {"decompression bomb stopped at the first step over its size",
         single({"bomb.dat", std::string(10'000'000, '\0'), 6}, centralUncompressed, 1000),
         "The archive is damaged (bomb.dat is 4194304 bytes, expected 1000).", ""},
        {"no local header: the file is left alone", single(letters, centralLocalOffset, 1),
         "The archive is damaged (header of flip.dat).", previous},
    };
    TempDir dir;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        writeFile(dir / "out.dat", previous);
        EXPECT_EQ(writeOnly(c.archive, dir / "out.dat"), c.failure);
        if (c.written) {
            EXPECT_EQ(readFile(dir / "out.dat"), *c.written);
        }
    }
}

}  // namespace
}  // namespace velmora
