#include <gtest/gtest.h>

#include <cstring>

#include "speech/StreamParser.h"

namespace velmora {
namespace {

using Bytes = std::vector<std::byte>;
using Status = StreamParser::Status;

const StreamFormat rawS16Mono{false, StreamFormat::Sample::s16le, 1, 22050};
const StreamFormat rawF32Stereo{false, StreamFormat::Sample::f32le, 2, 16000};
const StreamFormat framedS16Mono{true, StreamFormat::Sample::s16le, 1, 8000};

void append(Bytes& bytes, const void* data, std::size_t size) {
    const auto* begin = static_cast<const std::byte*>(data);
    bytes.insert(bytes.end(), begin, begin + size);
}

Bytes s16(std::initializer_list<std::int16_t> values) {
    Bytes bytes;
    for (std::int16_t value : values) {
        const auto bits = static_cast<std::uint16_t>(value);
        bytes.push_back(std::byte(bits & 0xff));  // little-endian whatever the host
        bytes.push_back(std::byte(bits >> 8));
    }
    return bytes;
}

Bytes f32(std::initializer_list<float> values) {
    Bytes bytes;
    for (float value : values) {
        std::uint32_t bits = 0;
        std::memcpy(&bits, &value, sizeof bits);
        for (int shift = 0; shift < 32; shift += 8) bytes.push_back(std::byte((bits >> shift) & 0xff));
    }
    return bytes;
}

Bytes header() { return {std::byte('0'), std::byte('.'), std::byte('0'), std::byte('1')}; }

Bytes audioChunk(const Bytes& samples) {
    Bytes bytes{std::byte{1}};
    const auto length = static_cast<std::uint32_t>(samples.size());
    append(bytes, &length, sizeof length);
    bytes.insert(bytes.end(), samples.begin(), samples.end());
    return bytes;
}

Bytes eventChunk(const std::string& name) {
    Bytes bytes{std::byte{2}, std::byte{1}};
    const std::uint32_t fields[3] = {4, 9, static_cast<std::uint32_t>(name.size())};
    append(bytes, fields, sizeof fields);
    append(bytes, name.data(), name.size());
    return bytes;
}

Bytes joined(std::initializer_list<Bytes> parts) {
    Bytes bytes;
    for (const auto& part : parts) bytes.insert(bytes.end(), part.begin(), part.end());
    return bytes;
}

struct Parsed {
    std::vector<float> samples;
    Status status;
};

// Feeds the bytes in pieces of `piece` bytes (0: all at once) and ends the stream.
Parsed parse(const StreamFormat& format, const Bytes& bytes, std::size_t piece = 0) {
    StreamParser parser(format);
    Parsed parsed;
    const std::size_t step = piece == 0 ? std::max<std::size_t>(bytes.size(), 1) : piece;
    for (std::size_t offset = 0; offset < bytes.size(); offset += step) {
        const PcmBuffer buffer = parser.feed(std::span(bytes).subspan(offset, std::min(step, bytes.size() - offset)));
        EXPECT_EQ(buffer.channels, format.channels);
        EXPECT_EQ(buffer.sampleRate, format.sampleRate);
        EXPECT_EQ(buffer.samples.size() % static_cast<std::size_t>(format.channels), 0u);
        parsed.samples.insert(parsed.samples.end(), buffer.samples.begin(), buffer.samples.end());
    }
    parsed.status = parser.finish();
    return parsed;
}

TEST(StreamParserTest, DecodesSamplesWhateverTheReadsSplit) {
    struct Case {
        const char* name;
        StreamFormat format;
        Bytes bytes;
        std::vector<float> expected;
    };
    const std::vector<Case> cases{
        {"raw S16LE", rawS16Mono, s16({0, 1, -1, 32767, -32768, 16384}),
         {0.0f, 1 / 32768.0f, -1 / 32768.0f, 32767 / 32768.0f, -1.0f, 0.5f}},
        {"raw F32LE stereo", rawF32Stereo, f32({0.25f, -0.5f, 1.5f, -0.0f}), {0.25f, -0.5f, 1.5f, -0.0f}},
        {"framed with events", framedS16Mono,
         joined({header(), eventChunk("word"), audioChunk(s16({100, -200})), eventChunk(""),
                 audioChunk(s16({})), audioChunk(s16({300}))}),
         {100 / 32768.0f, -200 / 32768.0f, 300 / 32768.0f}},
        {"framed, a sample split across chunks", framedS16Mono,
         joined({header(), audioChunk({std::byte{0x00}}), eventChunk("mark"), audioChunk({std::byte{0x40}})}),
         {0.5f}},
        {"framed, header only", framedS16Mono, header(), {}},
        {"raw, nothing", rawS16Mono, {}, {}},
    };
    for (const auto& c : cases) {
        for (std::size_t piece : {0, 1, 2, 3, 5, 7}) {
            const Parsed parsed = parse(c.format, c.bytes, piece);
            EXPECT_EQ(parsed.status, Status::complete) << c.name << ", pieces of " << piece;
            EXPECT_EQ(parsed.samples, c.expected) << c.name << ", pieces of " << piece;
        }
    }
}

TEST(StreamParserTest, ReportsStreamsThatEndTooSoon) {
    const Bytes audio = audioChunk(s16({1, 2}));
    const Bytes version = header();
    struct Case {
        const char* name;
        StreamFormat format;
        Bytes bytes;
        std::size_t samplesKept;
        const char* problem;
    };
    const std::vector<Case> cases{
        {"raw, half a sample", rawS16Mono, joined({s16({5}), {std::byte{1}}}), 1,
         "the stream ended inside a sample frame"},
        {"raw, half a frame", rawF32Stereo, f32({0.5f, 0.25f, 0.125f}), 2, "the stream ended inside a sample frame"},
        {"framed, nothing", framedS16Mono, {}, 0, "the stream ended before its version header"},
        {"framed, half a header", framedS16Mono, Bytes(version.begin(), version.begin() + 2), 0,
         "the stream ended before its version header"},
        {"framed, inside audio", framedS16Mono, joined({header(), Bytes(audio.begin(), audio.end() - 2)}), 1,
         "the stream ended inside a chunk"},
        {"framed, inside a length", framedS16Mono, joined({header(), Bytes(audio.begin(), audio.begin() + 3)}), 0,
         "the stream ended inside a chunk"},
        {"framed, inside an event", framedS16Mono, joined({header(), Bytes(8, std::byte{2})}), 0,
         "the stream ended inside a chunk"},
    };
    for (const auto& c : cases) {
        StreamParser parser(c.format);
        const PcmBuffer buffer = parser.feed(c.bytes);
        EXPECT_EQ(buffer.samples.size(), c.samplesKept) << c.name;
        EXPECT_EQ(parser.finish(), Status::truncated) << c.name;
        EXPECT_EQ(parser.problem(), c.problem) << c.name;
    }
}

TEST(StreamParserTest, StopsAtBytesThatAreNotAStream) {
    struct Case {
        const char* name;
        Bytes bytes;
        std::size_t samplesKept;
        const char* problem;
    };
    const std::vector<Case> cases{
        {"another version", joined({Bytes{std::byte('0'), std::byte('.'), std::byte('0'), std::byte('2')},
                                    audioChunk(s16({1}))}),
         0, "unknown stream version"},
        {"raw samples without a header", s16({1, 2, 3, 4}), 0, "unknown stream version"},
        {"unknown chunk type", joined({header(), audioChunk(s16({7, 8})), Bytes{std::byte{3}}, audioChunk(s16({9}))}),
         2, "unknown chunk type 3"},
        {"chunk type zero", joined({header(), Bytes{std::byte{0}}}), 0, "unknown chunk type 0"},
    };
    for (const auto& c : cases) {
        StreamParser parser(framedS16Mono);
        const PcmBuffer buffer = parser.feed(c.bytes);
        EXPECT_EQ(buffer.samples.size(), c.samplesKept) << c.name;
        EXPECT_EQ(parser.status(), Status::malformed) << c.name;
        EXPECT_EQ(parser.problem(), c.problem) << c.name;
        // Nothing more is decoded, and the end does not hide the fault.
        EXPECT_TRUE(parser.feed(joined({header(), audioChunk(s16({1}))})).samples.empty()) << c.name;
        EXPECT_EQ(parser.finish(), Status::malformed) << c.name;
    }
}

TEST(StreamParserTest, AHugeDeclaredLengthIsStreamedNotReserved) {
    StreamParser parser(framedS16Mono);
    Bytes bytes = header();
    bytes.push_back(std::byte{1});
    const std::uint32_t length = 0xfffffffe;
    append(bytes, &length, sizeof length);
    const Bytes samples = s16({1, 2, 3});
    bytes.insert(bytes.end(), samples.begin(), samples.end());
    EXPECT_EQ(parser.feed(bytes).samples.size(), 3u);
    EXPECT_EQ(parser.finish(), Status::truncated);
}

TEST(StreamParserTest, AnyFlippedByteGivesAnOutcomeAndNoMoreSamplesThanTheBytesHold) {
    const Bytes good = joined({header(), eventChunk("word"), audioChunk(s16({100, -200, 300})), eventChunk("x"),
                               audioChunk(s16({400}))});
    for (std::size_t position = 0; position < good.size(); ++position) {
        for (unsigned flip : {0x01u, 0x80u, 0xffu}) {
            Bytes damaged = good;
            damaged[position] ^= std::byte(flip);
            for (std::size_t piece : {0, 1, 3}) {
                const Parsed parsed = parse(framedS16Mono, damaged, piece);
                EXPECT_NE(parsed.status, Status::reading) << position;
                EXPECT_LE(parsed.samples.size(), damaged.size() / 2) << position;
            }
        }
    }
}

}  // namespace
}  // namespace velmora
