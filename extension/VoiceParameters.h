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

    // Derives the voice from the data's fingerprint and gender, then applies the request, both
    // mappings rising with the value and never folding back:
    //  - `rate` (0.1 to 10, 1.0 normal) multiplies the voice's speed, which then stays within
    //    the 80 to 449 words per minute that espeak-ng speaks at proportionate lengths; a rate
    //    that is not a positive finite number counts as 1.0;
    //  - `pitch` (0 to 2, 1.0 normal) moves the base pitch linearly from 0 (at 0) over the
    //    voice's own (at 1) to 100 (at 2), espeak-ng's whole range; out-of-range values are
    //    clamped, one that is not finite counts as 1.0.
    static VoiceParameters derive(std::uint64_t fingerprint, const std::string& gender, double rate,
                                  double pitch);
};

}  // namespace velmora::provider
