#include "speech/ProviderScale.h"

#include <algorithm>
#include <cmath>

#include "speech/SpeechTypes.h"

namespace velmora {

double providerRate(float rate) {
    if (!std::isfinite(rate)) rate = SpeechRate::defaultRate;
    const double clamped =
        std::clamp(static_cast<double>(rate), double{SpeechRate::minimum}, double{SpeechRate::maximum});
    return std::pow(4.0, 2.0 * clamped - 1.0);
}

double providerPitch(float pitchMultiplier) {
    if (!std::isfinite(pitchMultiplier) || pitchMultiplier <= 0.0f) return 1.0;
    return pitchMultiplier;
}

}  // namespace velmora
