#include <gtest/gtest.h>

#include "speech/StreamParser.h"
#include "speech/VoiceList.h"

namespace velmora {
namespace {

using Bytes = std::vector<std::byte>;
using u32 = std::uint32_t;
using Status = StreamParser::Status;
using Floats = std::vector<float>;
using Outcome = std::tuple<Floats, Status, std::string>;  // samples, status, problem

const StreamFormat framedS16Mono{true, SampleFormat::s16le(), 1, 8000};

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
Bytes event(const std::string& s) { return raw<char>({2, 1}) + raw<u32>({4, 9, u32(s.size())}) + text(s); }
const Bytes header = text("0.01");

// Feeds the bytes in pieces of `piece` bytes, then ends the stream; adds its events to `events`.
Outcome parse(const StreamFormat& format, const Bytes& bytes, std::size_t piece,
              std::vector<StreamEvent>* events = nullptr) {
    StreamParser parser(format);
    std::vector<float> samples;
    for (std::size_t offset = 0; offset < bytes.size(); offset += piece) {
        const PcmBuffer buffer =
            parser.feed(std::span(bytes).subspan(offset, std::min(piece, bytes.size() - offset)));
        EXPECT_EQ(buffer.samples.size() % static_cast<std::size_t>(format.channels), 0u) << "half a frame";
        samples.insert(samples.end(), buffer.samples.begin(), buffer.samples.end());
        if (events) std::ranges::move(parser.takeEvents(), std::back_inserter(*events));
    }
    return {samples, parser.finish(), parser.problem()};  // in this order
}

TEST(StreamParserTest, DecodesBothFormatsWhateverTheReadsSplitStopsAtBadDataAndPlacesEvents) {
    const Bytes pcm = audio(s16({1, 2}));
    const float one = 1 / 32768.0f;
    const std::string cutChunk = "the stream ended inside a chunk";
    const auto done = [](Floats samples) { return Outcome{samples, Status::complete, ""}; };
    const auto cut = [](Floats samples, std::string why) { return Outcome{samples, Status::truncated, why}; };
    const auto bad = [](Floats samples, std::string why) { return Outcome{samples, Status::malformed, why}; };
    const StreamFormat stereoF32{false, SampleFormat::f32le(), 2, 16000};
    const Bytes huge = header + raw<char>({1}) + raw<u32>({0xfffffffe}) + s16({16384});
    const std::tuple<const char*, StreamFormat, Bytes, Outcome> cases[] = {
        // clang-format off
        {"raw S16LE", {false, SampleFormat::s16le(), 1, 22050}, s16({0, 1, -1, 32767, -32768, 16384}), done({0.0f, one, -one, 32767 * one, -1.0f, 0.5f})},
        {"framed, events skipped", framedS16Mono,
         header + event("word") + audio(s16({100, -200})) + event("") + audio({}) + audio(s16({300})),
         done({100 * one, -200 * one, 300 * one})},
        {"framed, a sample split across chunks", framedS16Mono,
         header + audio({std::byte{0x00}}) + event("mark") + audio({std::byte{0x40}}), done({0.5f})},
        {"raw F32LE stereo, half a frame", stereoF32, raw<float>({0.5f, -1.5f, 0.125f}),
         cut({0.5f, -1.5f}, "the stream ended inside a sample frame")},
        {"half a header", framedS16Mono, text("0."), cut({}, "the stream ended before its version header")},
        {"framed, inside audio", framedS16Mono, header + raw<char>({1}) + raw<u32>({4}) + s16({1}), cut({one}, cutChunk)},
        {"framed, inside an event", framedS16Mono, header + raw<char>({2, 1, 0, 0}), cut({}, cutChunk)},
        {"framed, a huge declared length is streamed, not reserved", framedS16Mono, huge, cut({0.5f}, cutChunk)},
        {"another version", framedS16Mono, text("0.02") + pcm, bad({}, "unknown stream version")},
        {"unknown chunk type, then audio", framedS16Mono, header + pcm + raw<char>({3}) + pcm,
         bad({one, 2 * one}, "unknown chunk type 3")},
        // clang-format on
    };
    for (const auto& [name, format, bytes, expected] : cases)
        for (auto n : {1u, 3u, 7u, 1000u}) EXPECT_EQ(parse(format, bytes, n), expected) << name << " / " << n;

    // Events sit at the frames of audio before them.
    const Bytes stream =
        header + event("word") + audio(s16({1, 2, 3})) + event("") + audio(s16({4})) + event("x");
    using Type = StreamEvent::Type;
    for (auto piece : {1u, 5u, 1000u}) {
        std::vector<StreamEvent> events;
        parse(framedS16Mono, stream, piece, &events);
        EXPECT_EQ(events,
                  (std::vector<StreamEvent>{
                      {Type::word, 4, 9, "word", 0}, {Type::word, 4, 9, "", 3}, {Type::word, 4, 9, "x", 4}}))
            << piece;
    }
}

// -1, 0 and 0.5 from every width, each kind and both byte orders (the decoder handles these apart).
TEST(StreamFormatTest, DecodesEverySampleFormatAndSaysWhyItCannotReadAFormat) {
    const std::pair<const char*, std::vector<int>> cases[] = {
        {"S8", {0x80, 0x00, 0x40}},
        {"S16LE", {0x00, 0x80, 0, 0, 0x00, 0x40}},
        {"U16BE", {0, 0, 0x80, 0x00, 0xC0, 0x00}},
        {"S24BE", {0x80, 0, 0, 0, 0, 0, 0x40, 0, 0}},
        {"S32LE", {0, 0, 0, 0x80, 0, 0, 0, 0, 0, 0, 0, 0x40}},
        {"F32BE", {0xBF, 0x80, 0, 0, 0, 0, 0, 0, 0x3F, 0, 0, 0}},
        {"F64LE", {0, 0, 0, 0, 0, 0, 0xF0, 0xBF, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xE0, 0x3F}},
    };
    for (const auto& [name, values] : cases) {
        const auto format = StreamFormat::parse(std::string("audio/x-raw,format=") + name + ",rate=8000");
        ASSERT_TRUE(format) << name;
        Bytes bytes;
        for (int b : values) bytes.push_back(static_cast<std::byte>(b));
        EXPECT_EQ(parse(*format, bytes, 1), (Outcome{{-1.0f, 0.0f, 0.5f}, Status::complete, ""})) << name;
    }

    EXPECT_EQ(StreamFormat::parse("audio/x-raw, format=(string)F32LE, rate=(int)16000, channels=(int)6"),
              (StreamFormat{false, SampleFormat::f32le(), 6, 16000}));
    const std::pair<const char*, const char*> refused[] = {
        {"audio/mpeg,format=S16LE,rate=22050", "it is audio/mpeg, not audio/x-raw or audio/x-spiel"},
        {"audio/x-raw,format=S16,rate=22050", "its samples are S16, which this program cannot read"},
        {"audio/x-raw,format=F16LE,rate=22050", "its samples are F16LE, which this program cannot read"},
        {"audio/x-raw,format=S16LE,channels=0,rate=22050", "its channel count 0 is not 1 to 64"},
        {"audio/x-raw,channels=1,rate=22050", "it names no sample format (format=)"},
        {"audio/x-raw,format=S16LE,channels=65,rate=8000", "its channel count 65 is not 1 to 64"},
        {"audio/x-raw,format=S16LE,rate=99999999999", "its sample rate 99999999999 is not 1 to 1000000"},
        {"audio/x-spiel,format=S16LE,channels=1", "it names no sample rate (rate=)"},
    };
    for (const auto& [text, why] : refused) {
        const FormatReading reading = StreamFormat::read(text);
        EXPECT_FALSE(reading.format) << text;
        EXPECT_EQ(reading.problem,
                  "The voice's audio format \"" + std::string(text) + "\" cannot be read: " + why + ".");
    }
}

const std::string m(VoiceList::marker);

// Voices of one release and language with these names.
std::vector<SpeechVoice> named(const std::vector<std::string>& names) {
    std::vector<SpeechVoice> voices;
    for (const auto& name : names) voices.push_back({m + "ios4.en-US.x", name, "en-US"});
    return voices;
}

TEST(VoiceListTest, SortsByNameKeepsMarkedVoicesAndGroupsThemByRelease) {
    const std::tuple<const char*, std::vector<std::string>, std::vector<std::string>, const char*> cases[] = {
        {"ties", {"Bea", "ANNA", "alex", "anna", "Anna"}, {"alex", "ANNA", "anna", "Anna", "Bea"}, "en_US"},
        {"locale's alphabet, English", {"Zara", "Örjan", "Olle"}, {"Olle", "Örjan", "Zara"}, "en_US"},
        {"locale's alphabet, Swedish", {"Zara", "Örjan", "Olle"}, {"Olle", "Zara", "Örjan"}, "sv_SE"},
    };
    for (const auto& [name, given, expected, locale] : cases)
        EXPECT_EQ(VoiceList::sortedByName(named(given), icu::Locale(locale)), named(expected)) << name;

    const std::vector<SpeechVoice> all{
        {m + "ios7.en-US.A", "A", "en-US"},
        {m + "ios3.en-US.B", "B", "en-US"},
        {"x." + m + "ios7.de-DE.C", "C", "de-DE"},
        {m + "xios4.en-US.D", "D", "en-US"},
        {m + "ios4.en-US.E", "E", "en-US"},
        {"org.example.ios5.F", "F", "en-US"},
        {"com.tarvenholt.velmora.voice.ios6.G", "G", "en-US"},
        {m + "Loose", "Loose", "en-US"},
    };
    EXPECT_EQ(VoiceList::marked(all),
              (std::vector<SpeechVoice>{all[0], all[1], all[2], all[3], all[4], all[7]}));
    // Grouping looks for ".ios5." alone; the marker filter is a step of its own.
    EXPECT_EQ(VoiceList::grouped(all), (std::vector<VoiceGroup>{{"iPhone OS 3", {all[1]}},
                                                                {"iOS 4", {all[4]}},
                                                                {"iOS 5", {all[5]}},
                                                                {"iOS 6", {all[6]}},
                                                                {"iOS 7", {all[0], all[2]}}}));
}

}  // namespace
}  // namespace velmora
