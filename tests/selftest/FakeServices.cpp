#include "selftest/FakeServices.h"

namespace velmora::test {
namespace {

class FakeRenderer : public SelfTestRenderer {
public:
    explicit FakeRenderer(FakeServices& fake) : fake_(fake) {}
    RenderResult render(const std::string& text, const SpeechVoice& voice, float rate, float pitch,
                        const std::optional<std::filesystem::path>& dumpTo) override {
        return answer({text, voice.identifier, rate, pitch, false, dumpTo});
    }
    RenderResult renderSsml(const std::string& ssml, const SpeechVoice& voice) override {
        return answer({ssml, voice.identifier, 0.5f, 1.0f, true, std::nullopt});
    }

private:
    RenderResult answer(RenderRequest request) {
        fake_.requests.push_back(request);
        return fake_.engine(request);
    }
    FakeServices& fake_;
};

}  // namespace

SelfTestServices FakeServices::services() {
    return {
        .print = [this](const std::string& line) { lines.push_back(line); },
        .updateSpeechVoices = [] {},
        .speechVoices =
            [this] {
                ++looks;
                return looks >= firstListing ? voices : std::vector<SpeechVoice>{};
            },
        .makeSynthesizer =
            [this] {
                ++synthesizers;
                return std::make_unique<FakeRenderer>(*this);
            },
        .pause = [this](std::chrono::duration<double> duration) { pauses.push_back(duration.count()); },
        .temporaryDirectory = temporaryDirectory,
    };
}

}  // namespace velmora::test
