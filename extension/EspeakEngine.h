#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>

#include "VoiceParameters.h"

namespace velmora::provider {

// The process's one espeak-ng instance, in synchronous mode. The library keeps waveform state
// from one utterance to the next (the same text spoken twice in a row comes out a few samples
// apart), so the provider initialises it once and speaks every utterance in a child process
// forked from that state: every utterance then starts from the same engine state, and the
// library's calls never overlap, since each process makes its own one at a time.
class EspeakEngine {
public:
    // Receives the samples as they are made; returns false to stop the utterance.
    using SampleSink = std::function<bool(std::span<const std::int16_t>)>;

    // Loads espeak-ng's data; throws std::runtime_error with espeak-ng's message on failure.
    static void initialise();
    static int sampleRate();

    // The espeak-ng language that speaks `locale` ("en-US" -> "en-us", "de-DE" -> "de",
    // "zh-HK" -> "yue"), or "en" when none does.
    static std::string languageFor(std::string_view locale);

    // Speaks `text` (SSML when `ssml`) and hands the samples to `sink`. True when espeak-ng
    // finished the utterance; false when it refused it or the sink stopped it.
    static bool synthesize(const std::string& text, bool ssml, const std::string& language,
                           const VoiceParameters& voice, const SampleSink& sink);
};

}  // namespace velmora::provider
