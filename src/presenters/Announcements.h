#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "enhanced/VoiceState.h"

namespace velmora {

// What a screen reader is told, in words, when something happens on the enhanced voices screen
// without the user's focus moving: one sentence per change worth hearing.
struct Announcements {
    // The progress a download reports aloud: each quarter, not every percent.
    static constexpr int milestoneStep = 25;

    // The sentence for a voice going from `before` to `after`, or none when the change is not
    // worth hearing (a progress step between milestones, a pack found on disk). `name` is the
    // voice's NAME, `downloadSize` its catalog size.
    static std::optional<std::string> voiceChanged(std::string_view name, std::int64_t downloadSize,
                                                   const VoiceState& before, const VoiceState& after);
    // A removal that failed, with the store's own text.
    static std::string removalFailed(std::string_view name, std::string_view message);
    // A cancelled install that can no longer stop.
    static std::string cannotStop(std::string_view name);

    static std::string deleteAllDone();
    static std::string deleteAllWaits();
    static std::string deleteAllRefused();
    static std::string deleteAllFailed(std::string_view message);

    static std::string catalogLoading();
    static std::string catalogLoaded(std::size_t voiceCount);
    static std::string catalogFailed(std::string_view message);
};

}  // namespace velmora
