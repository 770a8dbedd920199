#include <gtest/gtest.h>

#include "speech/ProviderControl.h"
#include "speech/SpeechTestSupport.h"
#include "speech/Synthesizer.h"
#include "speech/TestProviderVoices.h"
#include "speech/ToneSignal.h"

namespace velmora {
namespace {

const std::string marker = "com.tarvenholt.Velmora.voice.";
const std::string raw16 = marker + "ios4.en-US.Raw16";
const std::string raw32 = marker + "ios5.de-DE.Raw32";
const std::string framed16 = marker + "ios6.fr-FR.Framed16";
const std::string framed32 = marker + "ios7.en-GB.Framed32";

class SynthesizerBusTest : public testing::Test {
protected:
    test::Render render(const Utterance& utterance) {
        test::RenderCapture capture;
        synthesizer.write(utterance, capture.callback());
        return capture.wait();
    }

    std::shared_ptr<SpeechSystem> system = std::make_shared<SpeechSystem>();
    test::CountingOutputs outputs;
    Synthesizer synthesizer{system, outputs.factory()};
};

void expectTone(const test::Render& render, std::size_t frames, int channels, double rate, const std::string& name) {
    EXPECT_TRUE(render.ended) << name;
    EXPECT_EQ(render.endBuffers, 1) << name;
    EXPECT_EQ(render.buffersAfterEnd, 0) << name;
    ASSERT_EQ(render.frames(), frames) << name;
    if (frames == 0) return;
    EXPECT_EQ(render.channels, channels) << name;
    EXPECT_EQ(render.sampleRate, rate) << name;
    for (std::size_t frame = 0; frame < frames; ++frame) {
        for (int channel = 0; channel < channels; ++channel) {
            const float sample = render.samples[frame * static_cast<std::size_t>(channels) + static_cast<std::size_t>(channel)];
            ASSERT_EQ(sample, test::toneSample(frame, channel)) << name << ", frame " << frame << ", channel " << channel;
        }
    }
}

TEST_F(SynthesizerBusTest, RendersExactSamplesInEveryFormat) {
    struct Case {
        std::string voice;
        std::size_t frames;
        int channels;
        double rate;
    };
    const std::vector<Case> cases{
        {raw16, 2345, 1, 22050}, {raw32, 40001, 2, 16000}, {framed16, 1501, 2, 22050}, {framed32, 7, 1, 44100},
        {framed32, 0, 1, 44100},
    };
    for (const auto& c : cases) {
        expectTone(render(test::utterance("tone " + std::to_string(c.frames), c.voice)), c.frames, c.channels, c.rate,
                   c.voice + " " + std::to_string(c.frames));
    }
}

TEST_F(SynthesizerBusTest, PassesTheUtterancesSettingsOnProviderScales) {
    Utterance utterance = test::utterance("<speak>Hello</speak>", framed16);
    utterance.isSsml = true;
    utterance.rate = 0.75f;
    utterance.pitchMultiplier = 1.4f;
    EXPECT_EQ(render(utterance).frames(), 1000u);  // the provider's length when the text names none
    const test::ProviderRequest request = test::lastRequest(test::tonesProvider);
    EXPECT_EQ(request.text, "<speak>Hello</speak>");
    EXPECT_EQ(request.voiceId, framed16);
    EXPECT_DOUBLE_EQ(request.rate, 2.0);
    EXPECT_DOUBLE_EQ(request.pitch, double{1.4f});
    EXPECT_TRUE(request.isSsml);
    EXPECT_EQ(request.language, "fr-FR");
}

TEST_F(SynthesizerBusTest, AFailingProviderCostsAPartialRenderAndTheEndBuffer) {
    synthesizer.setLimits({std::chrono::milliseconds(300), std::chrono::seconds(5)});
    struct Case {
        std::string text;
        std::string voice;
        std::size_t frames;
    };
    const std::vector<Case> cases{
        {"die 3000", raw16, 3000},      {"die 1500", framed32, 1500},   {"stall 1000", raw16, 1000},
        {"stall 600", framed16, 600},   {"garbage 700", raw16, 700},    {"garbage 700", framed32, 700},
        {"silent 500", raw32, 500},     {"refuse", raw16, 0},           {"tone 100", "org.example.Missing", 0},
    };
    for (const auto& c : cases) {
        const test::Render result = render(test::utterance(c.text, c.voice));
        const std::string name = c.text + " with " + c.voice;
        EXPECT_TRUE(result.ended) << name;
        EXPECT_EQ(result.endBuffers, 1) << name;
        EXPECT_EQ(result.frames(), c.frames) << name;
    }
    // The provider that died is started again for the next utterance.
    expectTone(render(test::utterance("tone 50", raw16)), 50, 1, 22050, "after the deaths");
}

TEST_F(SynthesizerBusTest, MalformedSsmlIsRefusedWithoutAskingTheProvider) {
    render(test::utterance("tone 10", raw16));
    Utterance ssml = test::utterance("<speak>tone 20", raw16);
    ssml.isSsml = true;
    const test::Render result = render(ssml);
    EXPECT_TRUE(result.ended);
    EXPECT_EQ(result.frames(), 0u);
    EXPECT_EQ(test::lastRequest(test::tonesProvider).text, "tone 10");
}

TEST_F(SynthesizerBusTest, StopAndDestructionEndRendersThatWouldWaitLong) {
    test::RenderCapture stopped;
    synthesizer.write(test::utterance("stall 100", raw16), stopped.callback());
    test::RenderCapture destroyed;
    {
        Synthesizer other(system, outputs.factory());
        other.write(test::utterance("stall 100", framed32), destroyed.callback());
        // Neither waits out the ten-second stall limit.
        synthesizer.stop();
    }
    EXPECT_TRUE(stopped.wait(std::chrono::seconds(5)).ended);
    EXPECT_TRUE(destroyed.wait(std::chrono::milliseconds(0)).ended);
}

TEST_F(SynthesizerBusTest, RendersSideBySide) {
    std::vector<test::RenderCapture> captures(4);
    const std::vector<std::string> voices{raw16, raw32, framed16, framed32};
    for (std::size_t i = 0; i < captures.size(); ++i) {
        synthesizer.write(test::utterance("tone " + std::to_string(3000 + i), voices[i]), captures[i].callback());
    }
    for (std::size_t i = 0; i < captures.size(); ++i) EXPECT_EQ(captures[i].wait().frames(), 3000 + i) << voices[i];
}

}  // namespace
}  // namespace velmora
