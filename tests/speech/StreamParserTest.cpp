#include <gtest/gtest.h>

#include "speech/StreamParser.h"

namespace velmora {
namespace {

using Bytes = std::vector<std::byte>;
using u32 = std::uint32_t;
using Status = StreamParser::Status;
using Outcome = std::tuple<std::vector<float>, Status, std::string>;  // samples, status, problem

const StreamFormat rawS16Mono{false, StreamFormat::Sample::s16le, 1, 22050};
const StreamFormat framedS16Mono{true, StreamFormat::Sample::s16le, 1, 8000};

// The values' bytes in host order, which is little-endian wherever the tests run.
template <typename T>
Bytes raw(std::initializer_list<T> values) {
    const auto* begin = reinterpret_cast<const std::byte*>(std::data(values));
    return Bytes(begin, begin + values.size() * sizeof(T));
}

Bytes operator+(Bytes first, const Bytes& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

Bytes s16(std::initializer_list<std::int16_t> values) { return raw(values); }
Bytes text(std::string_view s) {
    return Bytes(std::as_bytes(std::span(s)).begin(), std::as_bytes(std::span(s)).end());
}
Bytes audio(const Bytes& samples) { return raw<char>({1}) + raw<u32>({u32(samples.size())}) + samples; }
Bytes event(const std::string& name) {
    return raw<char>({2, 1}) + raw<u32>({4, 9, u32(name.size())}) + text(name);
}
const Bytes header = text("0.01");

// Feeds the bytes in pieces of `piece` bytes, then ends the stream.
Outcome parse(const StreamFormat& format, const Bytes& bytes, std::size_t piece) {
    StreamParser parser(format);
    std::vector<float> samples;
    for (std::size_t offset = 0; offset < bytes.size(); offset += piece) {
        const PcmBuffer buffer =
            parser.feed(std::span(bytes).subspan(offset, std::min(piece, bytes.size() - offset)));
        EXPECT_EQ(buffer.samples.size() % static_cast<std::size_t>(format.channels),
                  0u);  // whole frames only
        samples.insert(samples.end(), buffer.samples.begin(), buffer.samples.end());
    }
    const Status status = parser.finish();
    return {samples, status, parser.problem()};
}

TEST(StreamParserTest, DecodesBothFormatsWhateverTheReadsSplitAndStopsAtBadData) {
    const Bytes pcm = audio(s16({1, 2}));
    const float one = 1 / 32768.0f;
    const std::string cutChunk = "the stream ended inside a chunk";
    const struct {
        const char* name;
        StreamFormat format;
        Bytes bytes;
        Outcome expected;
    } cases[] = {
        {"raw S16LE",
         rawS16Mono,
         s16({0, 1, -1, 32767, -32768, 16384}),
         {{0.0f, one, -one, 32767 * one, -1.0f, 0.5f}, Status::complete, ""}},
        {"framed, events skipped",
         framedS16Mono,
         header + event("word") + audio(s16({100, -200})) + event("") + audio({}) + audio(s16({300})),
         {{100 * one, -200 * one, 300 * one}, Status::complete, ""}},
        {"framed, a sample split across chunks",
         framedS16Mono,
         header + audio({std::byte{0x00}}) + event("mark") + audio({std::byte{0x40}}),
         {{0.5f}, Status::complete, ""}},
        {"raw F32LE stereo, half a frame",
         {false, StreamFormat::Sample::f32le, 2, 16000},
         raw<float>({0.5f, -1.5f, 0.125f}),
         {{0.5f, -1.5f}, Status::truncated, "the stream ended inside a sample frame"}},
        {"half a header",
         framedS16Mono,
         text("0."),
         {{}, Status::truncated, "the stream ended before its version header"}},
        {"framed, inside audio",
         framedS16Mono,
         header + raw<char>({1}) + raw<u32>({4}) + s16({1}),
         {{one}, Status::truncated, cutChunk}},
        {"framed, inside an event",
         framedS16Mono,
         header + raw<char>({2, 1, 0, 0}),
         {{}, Status::truncated, cutChunk}},
        {"framed, a huge declared length is streamed, not reserved",
         framedS16Mono,
         header + raw<char>({1}) + raw<u32>({0xfffffffe}) + s16({16384}),
         {{0.5f}, Status::truncated, cutChunk}},
        {"another version",
         framedS16Mono,
         text("0.02") + pcm,
         {{}, Status::malformed, "unknown stream version"}},
        {"unknown chunk type, then audio",
         framedS16Mono,
         header + pcm + raw<char>({3}) + pcm,
         {{one, 2 * one}, Status::malformed, "unknown chunk type 3"}},
    };
    for (const auto& c : cases) {
        for (auto n : {1u, 3u, 7u, 1000u})
            EXPECT_EQ(parse(c.format, c.bytes, n), c.expected) << c.name << " / " << n;
    }
}

TEST(StreamFormatTest, ReadsTheFormatProvidersNameAndRefusesWhatItCannotDecode) {
    EXPECT_EQ(StreamFormat::parse("audio/x-raw, format=(string)F32LE, rate=(int)16000, channels=(int)6"),
              (StreamFormat{false, StreamFormat::Sample::f32le, 6, 16000}));
    for (const char* text :
         {"audio/mpeg,format=S16LE,rate=22050", "audio/x-raw,format=S16BE,rate=22050",
          "audio/x-raw,format=S16LE,channels=0,rate=22050", "audio/x-raw,channels=1,rate=22050",
          "audio/x-raw,format=S16LE,channels=65,rate=8000", "audio/x-raw,format=S16LE,rate=0",
          "audio/x-raw,format=S16LE,rate=99999999999", "audio/x-raw,format=S16LE,channels=1"}) {
        EXPECT_FALSE(StreamFormat::parse(text)) << text;
    }
}

}  // namespace
}  // namespace velmora
