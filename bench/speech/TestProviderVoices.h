#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "speech/StreamFormat.h"

namespace velmora::test {

// The voices of the test provider; one process serves one set, under its own bus name.
struct TestVoice {
    std::string name;
    std::string identifier;
    std::string format;
    std::vector<std::string> languages;
    // Emulates an engine that makes audio 20 times faster than real time, for the benchmark.
    bool paced = false;
};

inline const std::string tonesProvider = "com.tarvenholt.Tones.Speech.Provider";
inline const std::string chimesProvider = "com.tarvenholt.Chimes.Speech.Provider";
inline const std::string formatsProvider = "com.tarvenholt.Formats.Speech.Provider";
inline const std::string controlInterface = "com.tarvenholt.TestProvider.Control";

inline std::vector<TestVoice> testVoices(const std::string& set) {
    const std::string marker = "com.tarvenholt.Velmora.voice.";
    if (set == "formats") {
        // A voice for each width and kind of sample (the decoding of each format is unit tested),
        // a framed one, one the client cannot read, and one whose identifier the tones provider
        // offers too.
        std::vector<TestVoice> voices;
        const std::vector<std::string> formats{"S8", "U16BE", "S24LE", "U32BE", "F64LE"};
        for (std::size_t i = 0; i < formats.size(); ++i) {
            const std::string channels = i % 2 == 0 ? "1" : "2";
            const std::string rate = std::to_string(8000 + 1000 * i);
            voices.push_back({formats[i],
                              "org.example.format." + formats[i],
                              "audio/x-raw,format=" + formats[i] + ",channels=" + channels + ",rate=" + rate,
                              {"en-US"}});
        }
        voices.push_back({"Framed U24BE",
                          "org.example.format.Framed",
                          "audio/x-spiel,format=U24BE,channels=2,rate=11025",
                          {"en-US"}});
        voices.push_back({"Unreadable",
                          "org.example.format.S24_32LE",
                          "audio/x-raw,format=S24_32LE,rate=8000",
                          {"en-US"}});
        voices.push_back(
            {"Plain too", "org.example.Plain", "audio/x-raw,format=F64BE,channels=1,rate=11025", {"it-IT"}});
        return voices;
    }
    if (set == "chimes") {
        // Names that sort differently by code point than by case-blind, numeric-aware collation.
        const std::string chime = "audio/x-raw,format=S16LE,channels=1,rate=8000";
        return {
            {"Tom 10", marker + "ios3.it-IT.Tom10", chime, {"it-IT"}},
            {"alex", marker + "ios3.it-IT.alex", chime, {"it-IT"}},
            {"Tom 9", marker + "ios3.it-IT.Tom9", chime, {"it-IT"}},
            {"chime 9", marker + "extra.Chime9", chime, {"it-IT"}},
        };
    }
    return {
        {"Raw 16", marker + "ios4.en-US.Raw16", "audio/x-raw,format=S16LE,channels=1,rate=22050", {"en-US"}},
        {"raw 32", marker + "ios5.de-DE.Raw32", "audio/x-raw,format=F32LE,channels=2,rate=16000", {"de-DE"}},
        {"Framed 16",
         marker + "ios6.fr-FR.Framed16",
         "audio/x-spiel,format=S16LE,channels=2,rate=22050",
         {"fr-FR", "fr-CA"}},
        {"Framed 32",
         marker + "ios7.en-GB.Framed32",
         "audio/x-spiel,format=F32LE,channels=1,rate=44100",
         {"en-GB"}},
        {"Paced",
         marker + "ios7.en-AU.Paced",
         "audio/x-raw,format=S16LE,channels=1,rate=22050",
         {"en-AU"},
         true},
        {"Plain", "org.example.Plain", "audio/x-raw,format=S16LE,channels=1,rate=22050", {"it-IT"}},
    };
}

// The test provider's signal: a saw-tooth whose every value is exact both as a 16-bit sample
// and as a 32-bit float (a multiple of 1/32768), different on each channel.
inline std::int16_t toneValue(std::size_t frame, int channel) {
    return static_cast<std::int16_t>(
        static_cast<int>((frame * 37 + static_cast<std::size_t>(channel) * 1000) % 2000) - 1000);
}

inline float toneSample(std::size_t frame, int channel) {
    return static_cast<float>(toneValue(frame, channel)) / 32768.0f;
}

// The tone as a provider writes it in `format`: integer samples hold the 16-bit value at their
// width (8-bit ones keep its high byte), floating-point ones hold toneSample.
inline std::string encodedTone(const SampleFormat& format, std::size_t frame, int channel) {
    std::uint64_t bits = 0;
    if (format.kind == SampleFormat::Kind::floatingPoint) {
        bits = format.bits == 32 ? std::bit_cast<std::uint32_t>(toneSample(frame, channel))
                                 : std::bit_cast<std::uint64_t>(double{toneSample(frame, channel)});
    } else {
        std::int64_t value = toneValue(frame, channel);
        value = format.bits == 8 ? value >> 8 : value * (std::int64_t{1} << (format.bits - 16));
        if (format.kind == SampleFormat::Kind::unsignedInteger) value += std::int64_t{1} << (format.bits - 1);
        bits = static_cast<std::uint64_t>(value);
    }
    std::string bytes;
    for (std::size_t i = 0; i < format.bytes(); ++i) bytes += static_cast<char>(bits >> (8 * i));
    if (format.bigEndian) bytes.assign(bytes.rbegin(), bytes.rend());
    return bytes;
}

// What a reader makes of encodedTone.
inline float decodedTone(const SampleFormat& format, std::size_t frame, int channel) {
    if (format.bits == 8) return static_cast<float>(toneValue(frame, channel) >> 8) / 128.0f;
    return toneSample(frame, channel);
}

}  // namespace velmora::test
