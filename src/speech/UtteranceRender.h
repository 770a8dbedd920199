#pragma once

#include <chrono>
#include <functional>
#include <stop_token>
#include <string>

#include "speech/SpeechSystem.h"
#include "speech/SpeechTypes.h"
#include "speech/StreamParser.h"

namespace velmora {

// How one render ended.
struct RenderOutcome {
    enum class End {
        finished,   // the provider ended the stream cleanly and its call succeeded
        cancelled,  // a stop was requested
        failed,     // refused, no voice or provider, or a stream that broke, stalled or made no sense
    };
    End end = End::finished;
    std::string problem;  // why it failed; empty otherwise
};

// Times that bound a render when the provider misbehaves.
struct RenderLimits {
    // The longest wait for the next bytes of the stream, and for the call's reply after it ends.
    std::chrono::milliseconds stallTimeout{10'000};
    // The bus's time-out for the Synthesize call, which may include starting the provider.
    std::chrono::milliseconds callTimeout{25'000};
};

// Renders `utterance` with its voice's provider on the calling thread, handing each run of
// decoded frames to `sink` as it arrives. SSML must be acceptable; an utterance without a
// voice uses the voice for the user's language, else the first voice listed. The stream's events
// (words, sentences, marks) go to `events`, when given, before the frames that follow them.
RenderOutcome renderUtterance(SpeechSystem& system, const Utterance& utterance, const RenderLimits& limits,
                              std::stop_token stop, const std::function<void(const PcmBuffer&)>& sink,
                              const std::function<void(std::vector<StreamEvent>)>& events = {});

}  // namespace velmora
