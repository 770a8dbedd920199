#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "store/VoiceRelease.h"

namespace velmora::provider {

// One voice of the compact data: a release, a locale and the name its header gives.
struct ProviderVoice {
    VoiceRelease release;
    std::string locale;
    std::string name;

    static constexpr const char* identifierMarker = "com.tarvenholt.Velmora.voice.";

    // "com.tarvenholt.Velmora.voice." + release name + "." + locale + "." + voice name
    std::string identifier() const;
    // voice name + " (" + release label + ")"
    std::string displayName() const;

    bool operator==(const ProviderVoice&) const = default;
};

// Every voice of the compact data below `resources`: the releases in table order, the locales
// of each sorted by name. A locale folder whose header names no voice is left out.
std::vector<ProviderVoice> compactVoices(const std::filesystem::path& resources);

// The voice with this identifier, if any.
std::optional<ProviderVoice> findVoice(const std::vector<ProviderVoice>& voices, std::string_view identifier);

}  // namespace velmora::provider
