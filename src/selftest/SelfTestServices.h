#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "selftest/RenderResult.h"
#include "selftest/SuiteLines.h"
#include "speech/SpeechTypes.h"

namespace velmora {

// The renders a suite asks for, strictly one after the other, each blocking until its result.
class SelfTestRenderer {
public:
    virtual ~SelfTestRenderer() = default;
    virtual RenderResult render(const std::string& text, const SpeechVoice& voice, float rate,
                                float pitchMultiplier,
                                const std::optional<std::filesystem::path>& dumpTo = std::nullopt) = 0;
    virtual RenderResult renderSsml(const std::string& ssml, const SpeechVoice& voice) = 0;
};

// What the self-test suites work with: where their lines go, the system's voices and a renderer.
// system() gives the real ones; tests put fakes in.
struct SelfTestServices {
    LineSink print;
    // Asks the speech providers to list their voices afresh.
    std::function<void()> updateSpeechVoices;
    // Every voice the system offers now, in the system's order.
    std::function<std::vector<SpeechVoice>()> speechVoices;
    // A fresh synthesizer for the renders of one run.
    std::function<std::unique_ptr<SelfTestRenderer>()> makeSynthesizer;
    // Suspends the suite between two looks at the voice list.
    std::function<void(std::chrono::duration<double>)> pause;
    // Where the audio dumps are written.
    std::filesystem::path temporaryDirectory;

    // Line-buffered standard output, the speech providers on the session bus, renders through
    // the render harness, the real clock and the user's temporary folder.
    static SelfTestServices system();
};

}  // namespace velmora
