// CRC-32 and raw DEFLATE: the fast paths against their references on the same bytes.
#include <gtest/gtest.h>

#include <random>
#include <zlib.h>

#include "zip/Crc32.h"
#include "zip/Fixtures.h"
#include "zip/ZipReader.h"
#include "zip/ZlibInflate.h"

namespace velmora {
namespace {

using test::asBytes;

TEST(ZipCrc, MatchesTheCheckValueInAnyPieces) {
    const std::string check = "123456789";
    EXPECT_EQ(~ZipReader::crc32(asBytes(check), 0xFFFFFFFF), 0xCBF43926U);
    const auto first = ZipReader::crc32(asBytes("1234"), 0xFFFFFFFF);
    EXPECT_EQ(~ZipReader::crc32(asBytes("56789"), first), 0xCBF43926U);
    EXPECT_EQ(ZipReader::crc32({}, 0x12345678), 0x12345678U);
    EXPECT_EQ(~zip::fastCrc32(asBytes(check), 0xFFFFFFFF), 0xCBF43926U);
}

TEST(ZipCrc, FastRegisterEqualsTheTableRegister) {
    const std::string data = test::patterned(100'000, 3);
    std::mt19937 random(5);
    for (int round = 0; round < 50; ++round) {
        const std::size_t split = random() % data.size();
        const std::uint32_t start = round == 0 ? 0xFFFFFFFF : static_cast<std::uint32_t>(random());
        const auto bytes = asBytes(data);
        const auto table = ZipReader::crc32(bytes.subspan(split), ZipReader::crc32(bytes.first(split), start));
        const auto fast = zip::fastCrc32(bytes.subspan(split), zip::fastCrc32(bytes.first(split), start));
        EXPECT_EQ(fast, table) << "split " << split << " start " << start;
    }
}

// What one decoder made of a stream: every piece it emitted, and its failure text if any.
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
            outcome.output += test::asText(piece);
        });
    } catch (const ZipReader::Failure& failure) {
        outcome.failure = failure.what();
    }
    return outcome;
}

Outcome withIsal(std::string_view stream) { return decode(ZipReader::inflate, stream); }
Outcome withZlib(std::string_view stream) { return decode(zip::zlibInflate, stream); }

std::string fixedHuffman(const std::string& data) {
    z_stream stream{};
    deflateInit2(&stream, 6, Z_DEFLATED, -15, 8, Z_FIXED);
    std::string output(deflateBound(&stream, data.size()), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
    stream.avail_in = static_cast<uInt>(data.size());
    stream.next_out = reinterpret_cast<Bytef*>(output.data());
    stream.avail_out = static_cast<uInt>(output.size());
    deflate(&stream, Z_FINISH);
    output.resize(stream.total_out);
    deflateEnd(&stream);
    return output;
}

TEST(ZipInflate, DecodesGoodStreamsLikeZlibInStepsOfFourMiB) {
    constexpr std::size_t step = ZipReader::stepSize;
    const std::string large = test::patterned(2 * step + 12345, 9);
    const std::string small = test::patterned(70'000, 4);
    struct Case {
        const char* label;
        std::string stream;
        std::string expected;
        std::vector<std::size_t> pieces;
    };
    const std::vector<Case> cases = {
        {"empty content", test::rawDeflate(""), "", {}},
        {"small, dynamic Huffman", test::rawDeflate(small), small, {small.size()}},
        {"fixed Huffman", fixedHuffman(small), small, {small.size()}},
        {"stored blocks", test::rawDeflate(small, 0), small, {small.size()}},
        {"bytes after the end are ignored", test::rawDeflate(small) + "trailing", small, {small.size()}},
        {"over 8 MiB of output", test::rawDeflate(large), large, {step, step, 12345}},
        {"exactly 4 MiB", test::rawDeflate(large.substr(0, step)), large.substr(0, step), {step}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        const Outcome isal = withIsal(c.stream);
        EXPECT_EQ(isal.failure, "");
        EXPECT_TRUE(isal.output == c.expected);
        EXPECT_EQ(isal.pieces, c.pieces);
        const Outcome zlib = withZlib(c.stream);
        EXPECT_EQ(zlib.failure, "");
        EXPECT_TRUE(zlib.output == c.expected);
    }
}

TEST(ZipInflate, FailsOnDamagedStreamsLikeZlib) {
    const std::string content = test::patterned(300'000, 6);
    const std::string good = test::rawDeflate(content);
    auto flipped = [&](std::size_t at) {
        std::string s = good;
        s[at] = static_cast<char>(s[at] ^ 0x5A);
        return s;
    };
    struct Case {
        const char* label;
        std::string stream;
        const char* failure;
    };
    const std::vector<Case> cases = {
        {"empty stream", "", "The archive is damaged (decompressor made no progress)."},
        {"reserved block type", "\x07\x00\x00\x00", "The archive is damaged (compressed data)."},
        {"stored block with a bad length check", std::string("\x01\x05\x00\x00\x00hello", 10),
         "The archive is damaged (compressed data)."},
        {"distance before the start", std::string("\x03\x02\x00", 3), "The archive is damaged (compressed data)."},
        {"cut in half", good.substr(0, good.size() / 2), "The archive is damaged (decompressor made no progress)."},
        {"cut before the last byte", good.substr(0, good.size() - 1),
         "The archive is damaged (decompressor made no progress)."},
        {"flipped header byte", flipped(0), nullptr},
        {"flipped byte in the middle", flipped(good.size() / 2), nullptr},
        {"flipped last byte", flipped(good.size() - 1), nullptr},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        const Outcome isal = withIsal(c.stream);
        const Outcome zlib = withZlib(c.stream);
        if (c.failure != nullptr) {
            EXPECT_EQ(isal.failure, c.failure);
        }
        // A flip may still decode to something (then only the CRC-32 can tell); both decoders must agree.
        EXPECT_EQ(isal.failure, zlib.failure);
        EXPECT_TRUE(isal.output == zlib.output) << isal.output.size() << " against " << zlib.output.size();
    }
}

TEST(ZipInflate, PassesTheCallbacksErrorThrough) {
    struct Stop {};
    const std::string stream = test::rawDeflate(std::string(10 * 1024 * 1024, 'z'));
    int calls = 0;
    EXPECT_THROW(ZipReader::inflate(asBytes(stream),
                                    [&](std::span<const std::byte>) {
                                        if (++calls == 2) throw Stop{};
                                    }),
                 Stop);
    EXPECT_EQ(calls, 2);
}

}  // namespace
}  // namespace velmora
