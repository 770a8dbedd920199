#include "selftest/BufferCollector.h"
#include "selftest/SelfTest.h"
#include "speech/Ssml.h"

namespace velmora {
namespace {

RenderResult collect(AudioRenderer& renderer, const Utterance& utterance,
                     const std::optional<std::filesystem::path>& dumpTo) {
    const auto collector = BufferCollector::create(dumpTo);
    renderer.write(utterance, collector->callback());
    return collector->result(SelfTest::renderTimeout);
}

}  // namespace

RenderResult SelfTest::render(AudioRenderer& renderer, const std::string& text, const SpeechVoice& voice,
                              float rate, float pitchMultiplier,
                              const std::optional<std::filesystem::path>& dumpTo) {
    Utterance utterance;
    utterance.text = text;
    utterance.useVoice(voice);
    utterance.rate = rate;
    utterance.pitchMultiplier = pitchMultiplier;
    return collect(renderer, utterance, dumpTo);
}

RenderResult SelfTest::renderSsml(AudioRenderer& renderer, const std::string& ssml,
                                  const SpeechVoice& voice) {
    if (!isAcceptableSsml(ssml)) return RenderResult{};
    Utterance utterance;
    utterance.text = ssml;
    utterance.isSsml = true;
    utterance.useVoice(voice);
    return collect(renderer, utterance, std::nullopt);
}

}  // namespace velmora
