#pragma once

#include <cstdint>
#include <string>

namespace velmora::provider {

// The espeak-ng settings of one utterance.
struct VoiceParameters {
    std::string variant;  // espeak-ng voice variant, such as "f3"
    int wordsPerMinute = 175;
    int pitch = 50;       // base pitch, 0 to 100
    int pitchRange = 50;  // 0 monotone to 100
    int wordGap = 0;      // extra pause between words, in units of 10 ms

    bool operator==(const VoiceParameters&) const = default;

    // Derives the voice from the data's fingerprint and gender, then applies the request:
    // `rate` multiplies the voice's speed (1.0 normal) and `pitch` its base pitch (1.0 normal).
    // Rates are clamped to 0.25..4 and pitches to 0.5..2; a value that is not a positive finite
    // number counts as 1.0. Speeds end up within espeak-ng's 80 to 450 words per minute.
    static VoiceParameters derive(std::uint64_t fingerprint, const std::string& gender, double rate,
                                  double pitch);
};

}  // namespace velmora::provider
