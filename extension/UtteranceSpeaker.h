#pragma once

#include <string>

#include "CompactVoice.h"

namespace velmora::provider {

// One Synthesize call, as the provider resolved it.
struct SynthesizeCall {
    CompactVoice voice;
    std::string text;
    double pitch = 1.0;  // 0 to 2, 1.0 normal
    double rate = 1.0;   // 0.1 to 10, 1.0 normal
    bool ssml = false;
    std::string language;  // the language to speak, one the voice lists
};

// Speaks `call` into the pipe `fd` as the framed stream ("audio/x-spiel", S16LE mono at the
// engine's rate) with word, sentence and mark events whose ranges count characters of the
// call's text, reading the voice's data afresh. Returns true when the whole utterance was
// written; false when the data, the engine or the client stopped it. Never throws. Leaves the
// process's engine used: the process is meant to end after it.
bool speakInto(int fd, const SynthesizeCall& call);

}  // namespace velmora::provider
