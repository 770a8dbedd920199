#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

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
inline const std::string controlInterface = "com.tarvenholt.TestProvider.Control";

inline std::vector<TestVoice> testVoices(const std::string& set) {
    const std::string marker = "com.tarvenholt.Velmora.voice.";
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

}  // namespace velmora::test
