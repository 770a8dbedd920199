#include "VoiceParameters.h"

#include <algorithm>
#include <cmath>

namespace velmora::provider {
namespace {

constexpr int normalWordsPerMinute = 175;
constexpr int minimumWordsPerMinute = 80;
// From 450 on espeak-ng speeds up through another method (sonic) whose short utterances come
// out longer than at 449 ("Hi": 0.071 s at 449 against 0.109 s at 600), so faster rates would
// fold back.
constexpr int maximumWordsPerMinute = 449;
constexpr double minimumRate = 0.1;
constexpr double maximumRate = 10.0;
constexpr int maximumPitch = 100;
constexpr int femaleVariants = 5;  // f1 .. f5
constexpr int maleVariants = 7;    // m1 .. m7

int speedFor(int normal, double rate) {
    if (!std::isfinite(rate) || rate <= 0) rate = 1.0;
    const double speed = normal * std::clamp(rate, minimumRate, maximumRate);
    return std::clamp(static_cast<int>(std::lround(speed)), minimumWordsPerMinute, maximumWordsPerMinute);
}

int pitchLevel(int base, double pitch) {
    if (!std::isfinite(pitch)) pitch = 1.0;
    pitch = std::clamp(pitch, 0.0, 2.0);
    const double level = pitch <= 1.0 ? base * pitch : base + (maximumPitch - base) * (pitch - 1.0);
    return std::clamp(static_cast<int>(std::lround(level)), 0, maximumPitch);
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

    voice.wordsPerMinute = speedFor(normalWordsPerMinute + speedOffset, rate);
    voice.pitch = pitchLevel(basePitch, pitch);
    return voice;
}

}  // namespace velmora::provider
