#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "store/VoiceRelease.h"

namespace velmora::provider {

// One voice of the compact data: a release, a locale and the name its header gives.
struct CompactVoice {
    VoiceRelease release;
    std::string locale;
    std::string name;

    static constexpr const char* identifierMarker = "com.tarvenholt.Velmora.voice.";

    // "com.tarvenholt.Velmora.voice." + release name + "." + locale + "." + voice name
    std::string identifier() const;
    // voice name + " (" + release label + ")"
    std::string displayName() const;
    // The languages it speaks: its locale, then, for the bilingual voices (the Chinese ones,
    // which also read English), "en-US".
    std::vector<std::string> languages() const;
    // The language to speak when a client asks for `requested`: that one when the voice lists
    // it (case and "-"/"_" ignored), otherwise the voice's locale.
    std::string spokenLanguage(std::string_view requested) const;

    bool operator==(const CompactVoice&) const = default;
};

// Every voice of the compact data below `resources`: the releases in table order, the locales
// of each sorted by name. A locale folder whose header names no voice is left out.
std::vector<CompactVoice> compactVoices(const std::filesystem::path& resources);

// The voice with this identifier, if any.
std::optional<CompactVoice> findVoice(const std::vector<CompactVoice>& voices, std::string_view identifier);

}  // namespace velmora::provider
