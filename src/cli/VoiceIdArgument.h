#pragma once

#include <string>
#include <vector>

#include "store/VoiceId.h"

namespace velmora::cli {

// The voice a command-line argument names, of one of `releases`, or a CommandError that says how to write
// one, listing the names of `releases` (the releases the command accepts).
VoiceId requireVoiceId(const std::string& text, const std::vector<VoiceRelease>& releases);

}  // namespace velmora::cli
