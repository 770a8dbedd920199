#include "selftest/SelfTestServices.h"

#include <condition_variable>
#include <mutex>

#include "selftest/SelfTest.h"
#include "speech/SpeechSystem.h"
#include "speech/Synthesizer.h"

namespace velmora {
namespace {

// Renders through the render harness with one synthesizer.
class HarnessRenderer : public SelfTestRenderer {
public:
    HarnessRenderer(std::shared_ptr<SpeechSystem> system, std::stop_token stop)
        : synthesizer_(std::move(system), openAudioOutput), stop_(std::move(stop)) {}

    RenderResult render(const std::string& text, const SpeechVoice& voice, float rate, float pitchMultiplier,
                        const std::optional<std::filesystem::path>& dumpTo) override {
        if (stop_.stop_requested()) return {};
        return SelfTest::render(synthesizer_, text, voice, rate, pitchMultiplier, dumpTo);
    }
    RenderResult renderSsml(const std::string& ssml, const SpeechVoice& voice) override {
        if (stop_.stop_requested()) return {};
        return SelfTest::renderSsml(synthesizer_, ssml, voice);
    }

private:
    Synthesizer synthesizer_;
    std::stop_token stop_;
};

std::filesystem::path userTemporaryDirectory() {
    std::error_code error;
    auto folder = std::filesystem::temp_directory_path(error);
    return error ? std::filesystem::path("/tmp") : folder;
}

}  // namespace

SelfTestServices SelfTestServices::system(std::stop_token stop) {
    return {
        .print =
            [stop, print = standardOutputLines()](const std::string& line) {
                if (!stop.stop_requested()) print(line);
            },
        .updateSpeechVoices = [stop] { SpeechSystem::shared()->updateSpeechVoices(stop); },
        // Read afresh at each look, so that providers that register late fill the list in.
        .speechVoices =
            [stop] {
                const auto system = SpeechSystem::shared();
                system->updateSpeechVoices(stop);
                return stop.stop_requested() ? std::vector<SpeechVoice>{} : system->voices();
            },
        .makeSynthesizer = [stop] { return std::make_unique<HarnessRenderer>(SpeechSystem::shared(), stop); },
        .pause =
            [stop](std::chrono::duration<double> duration) {
                std::mutex mutex;
                std::condition_variable_any never;
                std::unique_lock lock(mutex);
                never.wait_for(lock, stop, duration, [] { return false; });
            },
        .temporaryDirectory = userTemporaryDirectory(),
    };
}

}  // namespace velmora
