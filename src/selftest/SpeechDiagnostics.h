#pragma once

#include <vector>

#include "selftest/SelfTestServices.h"

namespace velmora {

// What the diagnostics of the speech self test work with.
struct SpeechDiagnosticsRun {
    const SelfTestServices& services;
    SelfTestRenderer& synthesizer;
    const SpeechVoice& reference;                     // the iOS 4 US-English Samantha
    const std::vector<SpeechVoice>& extensionVoices;  // in the system's order
};

// Latency, rate sweep, sentence parts, voice elements, breaks, pronunciation rules and the two
// audio dumps, with the reference voice, in that order.
void runSpeechDiagnostics(const SpeechDiagnosticsRun& run);

}  // namespace velmora
