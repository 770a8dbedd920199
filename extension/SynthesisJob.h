#pragma once

#include <string>

#include "ProviderVoice.h"

namespace velmora::provider {

// One Synthesize call.
struct SynthesisRequest {
    ProviderVoice voice;
    std::string text;
    double pitch = 1.0;  // multiplier, 1.0 normal
    double rate = 1.0;   // multiplier, 1.0 normal
    bool ssml = false;
};

// Speaks `request` into the pipe `fd` as raw S16LE mono samples at the engine's rate, reading
// the voice's data afresh. Returns true when the whole utterance was written; false when the
// data, the engine or the client stopped it. Never throws.
bool speakInto(int fd, const SynthesisRequest& request);

}  // namespace velmora::provider
