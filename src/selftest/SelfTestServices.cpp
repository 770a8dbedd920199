#include "selftest/SelfTestServices.h"

#include <thread>

#include "selftest/SelfTest.h"
#include "speech/SpeechSystem.h"
#include "speech/Synthesizer.h"

namespace velmora {
namespace {

// Renders through the render harness with one synthesizer.
class HarnessRenderer : public SelfTestRenderer {
public:
    explicit HarnessRenderer(std::shared_ptr<SpeechSystem> system)
        : synthesizer_(std::move(system), openAudioOutput) {}

    RenderResult render(const std::string& text, const SpeechVoice& voice, float rate, float pitchMultiplier,
                        const std::optional<std::filesystem::path>& dumpTo) override {
        return SelfTest::render(synthesizer_, text, voice, rate, pitchMultiplier, dumpTo);
    }
    RenderResult renderSsml(const std::string& ssml, const SpeechVoice& voice) override {
        return SelfTest::renderSsml(synthesizer_, ssml, voice);
    }

private:
    Synthesizer synthesizer_;
};

std::filesystem::path userTemporaryDirectory() {
    std::error_code error;
    auto folder = std::filesystem::temp_directory_path(error);
    return error ? std::filesystem::path("/tmp") : folder;
}

}  // namespace

SelfTestServices SelfTestServices::system() {
    return {
        .print = standardOutputLines(),
        .updateSpeechVoices = [] { SpeechSystem::shared()->updateSpeechVoices(); },
        // Read afresh at each look, so that providers that register late fill the list in.
        .speechVoices =
            [] {
                const auto system = SpeechSystem::shared();
                system->updateSpeechVoices();
                return system->voices();
            },
        .makeSynthesizer = [] { return std::make_unique<HarnessRenderer>(SpeechSystem::shared()); },
        .pause = [](std::chrono::duration<double> duration) { std::this_thread::sleep_for(duration); },
        .temporaryDirectory = userTemporaryDirectory(),
    };
}

}  // namespace velmora
