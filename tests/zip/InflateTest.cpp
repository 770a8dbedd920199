// CRC-32 and raw DEFLATE: the fast paths against their references on the same bytes.
#include <gtest/gtest.h>

#include <optional>

#include "zip/Crc32.h"
#include "zip/Fixtures.h"
#include "zip/ZipReader.h"
#include "zip/ZlibInflate.h"

namespace velmora {
namespace {

using test::asBytes;

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
    const std::string large = test::patterned(2 * step + 12345, 9);
    const std::string small = test::patterned(300'000, 4);
    const std::string good = test::rawDeflate(small);
    const std::string fixed = "fixed Huffman codes, fixed Huffman codes";
    ASSERT_EQ(test::rawDeflate(fixed)[0] & 6, 2);  // block type 01: zlib chose the fixed codes
    auto flipped = [&](std::size_t at) { return good.substr(0, at) + char(~good[at]) + good.substr(at + 1); };
    const std::string noProgress = "The archive is damaged (decompressor made no progress).";
    const std::string badData = "The archive is damaged (compressed data).";
    struct Case {
        const char* label;
        std::string stream;
        std::optional<std::string> failure;  // none: whatever zlib says
    };
    const std::vector<Case> cases = {
        {"empty content", test::rawDeflate(""), ""},
        {"dynamic Huffman", good, ""},
        {"fixed Huffman", test::rawDeflate(fixed), ""},
        {"stored blocks", test::rawDeflate(small, 0), ""},
        {"bytes after the end are ignored", good + "trailing", ""},
        {"over 8 MiB of output", test::rawDeflate(large), ""},
        {"exactly 4 MiB", test::rawDeflate(large.substr(0, step)), ""},
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
    EXPECT_EQ(decode(ZipReader::inflate, test::rawDeflate(large)).pieces, steps);
}

}  // namespace
}  // namespace velmora
