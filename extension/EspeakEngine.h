#pragma once

#include <cstdint>
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
// What the engine reports while it speaks, at the sample where it happens.
struct EngineEvent {
    enum class Kind { word, sentence, mark };
    Kind kind = Kind::word;
    std::size_t textPosition = 0;  // characters from the start of the engine's text
    std::size_t length = 0;        // in characters; 0 when the engine does not say
    std::string name;              // a mark's name
};

// Receives an utterance as it is made, samples and events in their order; each call returns
// false to stop the utterance.
class EngineListener {
public:
    virtual ~EngineListener() = default;
    virtual bool samples(std::span<const std::int16_t> samples) = 0;
    virtual bool event(const EngineEvent& event) = 0;
    // The engine has finished the utterance; the last word on it.
    virtual bool end() { return true; }
};

class EspeakEngine {
public:
    // Loads espeak-ng's data; throws std::runtime_error with espeak-ng's message on failure.
    static void initialise();
    static int sampleRate();

    // The espeak-ng language that speaks `locale` ("en-US" -> "en-us", "de-DE" -> "de",
    // "zh-HK" -> "yue"), or "en" when none does.
    static std::string languageFor(std::string_view locale);

    // Speaks the SSML `ssml` (as espeak-ng reads it) and hands samples and events to `listener`.
    // True when espeak-ng finished the utterance; false when it refused it or the listener
    // stopped it.
    static bool synthesize(const std::string& ssml, const std::string& language, const VoiceParameters& voice,
                           EngineListener& listener);
    // The same in a process of its own, forked from this one and waited for, so that nothing of
    // the utterance stays in this process's engine: each call speaks as the first would.
    static bool synthesizeAlone(const std::string& ssml, const std::string& language,
                                const VoiceParameters& voice, EngineListener& listener);
};

}  // namespace velmora::provider
