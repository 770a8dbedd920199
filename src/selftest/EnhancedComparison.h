#pragma once

#include "selftest/EnhancedSelfTest.h"
#include "store/InstalledVoice.h"

namespace velmora {

// Renders one sentence with the pack set aside, unreadable and in place, at pitch 1.0 and 1.4,
// with `voice` (the pack's voice as the system lists it), and prints the unreadable, audible,
// immediate and pitch verdicts. Leaves the pack in place with its header's permissions as they
// were, also when it ends early.
void compareRenders(const EnhancedSelfTestServices& services, const InstalledVoice& pack,
                    const SpeechVoice& voice);

}  // namespace velmora
