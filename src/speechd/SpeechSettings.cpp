#include "speechd/SpeechSettings.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>

namespace velmora::speechd {
namespace {

std::optional<int> percent(std::string_view text) {
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size() || value < -100 || value > 100)
        return std::nullopt;
    return value;
}

std::string unlessNull(std::string_view value) {
    return value == "NULL" ? std::string{} : std::string(value);
}

}  // namespace

bool SpeechSettings::apply(std::string_view line) {
    const auto equals = line.find('=');
    if (equals == std::string_view::npos) return false;
    const std::string_view name = line.substr(0, equals);
    const std::string_view value = line.substr(equals + 1);
    int* number = name == "rate" ? &rate : name == "pitch" ? &pitch : name == "volume" ? &volume : nullptr;
    if (number) {
        const auto parsed = percent(value);
        if (parsed) *number = *parsed;
        return parsed.has_value();
    }
    if (name == "voice") voiceType = unlessNull(value);
    if (name == "language") language = unlessNull(value);
    if (name == "synthesis_voice") synthesisVoice = unlessNull(value);
    return true;
}

float platformRate(int rate) {
    return 0.5f + 0.375f * static_cast<float>(std::clamp(rate, -100, 100)) / 100.0f;
}

float pitchMultiplier(int pitch) {
    return static_cast<float>(std::exp2(static_cast<double>(std::clamp(pitch, -100, 100)) / 100.0));
}

float volumeGain(int volume) { return static_cast<float>(std::clamp(volume, -100, 100) + 100) / 200.0f; }

}  // namespace velmora::speechd
