#include "enhanced/VoiceState.h"

#include <array>

namespace velmora {

const char* VoiceState::kindName() const {
    static constexpr std::array<const char*, 5> names{"available", "downloading", "unpacking", "installed",
                                                      "failed"};
    return names[value.index()];
}

RowAction rowAction(const VoiceState& state) {
    if (state.is<VoiceState::Downloading>()) return RowAction::cancel;
    if (state.is<VoiceState::Installed>()) return RowAction::confirmRemoval;
    if (state.is<VoiceState::Unpacking>()) return RowAction::none;
    return RowAction::install;
}

}  // namespace velmora
