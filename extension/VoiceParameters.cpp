#include "VoiceParameters.h"

#include <algorithm>
#include <cmath>

namespace velmora::provider {
namespace {

constexpr int normalWordsPerMinute = 175;
constexpr int minimumWordsPerMinute = 80;
constexpr int maximumWordsPerMinute = 450;
constexpr int femaleVariants = 5;  // f1 .. f5
constexpr int maleVariants = 7;    // m1 .. m7

double requested(double value, double low, double high) {
    if (!std::isfinite(value) || value <= 0) return 1.0;
    return std::clamp(value, low, high);
}

// `count` consecutive values starting at `low`, chosen by bits of the fingerprint.
int pick(std::uint64_t fingerprint, int shift, int low, int count) {
    return low + static_cast<int>((fingerprint >> shift) % static_cast<std::uint64_t>(count));
}

}  // namespace

VoiceParameters VoiceParameters::derive(std::uint64_t fingerprint, const std::string& gender, double rate,
                                        double pitch) {
    VoiceParameters voice;
    voice.variant = gender == "male" ? "m" + std::to_string(pick(fingerprint, 0, 1, maleVariants))
                                     : "f" + std::to_string(pick(fingerprint, 0, 1, femaleVariants));
    const int basePitch = pick(fingerprint, 8, 40, 21);
    const int speedOffset = pick(fingerprint, 16, -12, 25);
    voice.pitchRange = pick(fingerprint, 24, 35, 31);
    voice.wordGap = pick(fingerprint, 32, 0, 3);

    const double speed = (normalWordsPerMinute + speedOffset) * requested(rate, 0.25, 4.0);
    voice.wordsPerMinute =
        std::clamp(static_cast<int>(std::lround(speed)), minimumWordsPerMinute, maximumWordsPerMinute);
    voice.pitch = std::clamp(static_cast<int>(std::lround(basePitch * requested(pitch, 0.5, 2.0))), 0, 100);
    return voice;
}

}  // namespace velmora::provider
