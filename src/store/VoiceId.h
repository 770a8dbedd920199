#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "store/VoiceRelease.h"

namespace velmora {

// A voice pack named by its release and locale, written "ios6/en-US".
struct VoiceId {
    VoiceRelease release;
    std::string locale;

    // Absent unless the text is a known release name, "/", and a plain locale name.
    static std::optional<VoiceId> parse(std::string_view text);
    std::string text() const { return release.name + "/" + locale; }

    bool operator==(const VoiceId&) const = default;
};

}  // namespace velmora
