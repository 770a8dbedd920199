#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

#include "selftest/RenderResult.h"
#include "selftest/SelfTestServices.h"
#include "speech/SpeechTypes.h"

namespace velmora {

// The speech self test: renders utterances into memory and measures them, proves that every voice
// of the extension speaks and runs timing and pronunciation diagnostics on its reference voice.
struct SelfTest {
    // Runs the whole suite with the real services and prints its lines on standard output.
    // Blocks for the length of the run, which renders every voice once; call it on a worker thread.
    static void run();
    // The same with the given services.
    static void run(const SelfTestServices& services);

    // How long a render waits for the end of its stream.
    static constexpr std::chrono::duration<double> renderTimeout{20.0};

    // Renders a plain text with a voice, rate and pitch multiplier, optionally writing the audio
    // to a Core Audio Format file, and returns its measurements. Blocks until the stream ends or
    // the timeout passes; a render without audio gives the empty result, not an error.
    static RenderResult render(AudioRenderer& renderer, const std::string& text, const SpeechVoice& voice,
                               float rate, float pitchMultiplier,
                               const std::optional<std::filesystem::path>& dumpTo = std::nullopt);

    // Renders an SSML text with a voice at the default rate and pitch, without a dump. A text not
    // accepted as SSML gives the empty result at once.
    static RenderResult renderSsml(AudioRenderer& renderer, const std::string& ssml,
                                   const SpeechVoice& voice);
};

}  // namespace velmora
