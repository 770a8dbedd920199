#include "enhanced/VoiceState.h"

namespace velmora {

RowAction rowAction(const VoiceState& state) {
    if (state.is<VoiceState::Downloading>() || state.is<VoiceState::Waiting>()) return RowAction::cancel;
    if (state.is<VoiceState::Installed>()) return RowAction::confirmRemoval;
    if (state.is<VoiceState::Unpacking>()) return RowAction::none;
    return RowAction::install;
}

}  // namespace velmora
