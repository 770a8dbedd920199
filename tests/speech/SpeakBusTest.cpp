#include <gtest/gtest.h>

#include <thread>

#include "speech/SpeechTestSupport.h"
#include "speech/Synthesizer.h"

namespace velmora {
namespace {

const std::string raw16 = "com.tarvenholt.Velmora.voice.ios4.en-US.Raw16";
const std::string framed32 = "com.tarvenholt.Velmora.voice.ios7.en-GB.Framed32";

class SpeakBusTest : public testing::Test {
protected:
    SpeakBusTest() { synthesizer.setDelegate(&delegate); }
    ~SpeakBusTest() override { synthesizer.setDelegate(nullptr); }

    void waitUntilPlaying() {
        for (int i = 0; i < 500 && outputs.framesPlayed() == 0; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(10));
        ASSERT_GT(outputs.framesPlayed(), 0u);
    }

    test::DelegateRecorder delegate;
    test::CountingOutputs outputs;
    Synthesizer synthesizer{std::make_shared<SpeechSystem>(), outputs.factory()};
};

TEST_F(SpeakBusTest, SpeaksUtterancesInTurnAndReportsEachFinish) {
    synthesizer.speak(test::utterance("tone 2205", raw16));
    synthesizer.speak(test::utterance("tone 441", framed32));
    EXPECT_EQ(delegate.waitFor(2), (std::vector<std::string>{"finish:tone 2205", "finish:tone 441"}));
    EXPECT_EQ(outputs.framesPlayed(), 2205u + 441u);
}

TEST_F(SpeakBusTest, StopCutsOffTheUtteranceAndDropsTheQueue) {
    synthesizer.speak(test::utterance("tone 441000", raw16));  // twenty seconds
    synthesizer.speak(test::utterance("tone 10", raw16));
    waitUntilPlaying();
    synthesizer.stop();
    EXPECT_EQ(delegate.waitFor(2, std::chrono::seconds(5)),
              (std::vector<std::string>{"cancel:tone 441000", "cancel:tone 10"}));
    EXPECT_LT(outputs.framesPlayed(), 441000u);
    synthesizer.stop();  // nothing playing: nothing to report
    synthesizer.speak(test::utterance("tone 100", raw16));
    EXPECT_EQ(delegate.waitFor(3).back(), "finish:tone 100");
}

TEST_F(SpeakBusTest, AnUtteranceThatCannotBeSpokenIsCancelledAfterWhatWasPlayed) {
    Utterance badSsml = test::utterance("<speak>", raw16);
    badSsml.isSsml = true;
    synthesizer.speak(badSsml);
    synthesizer.speak(test::utterance("refuse", raw16));
    synthesizer.speak(test::utterance("die 300", raw16));
    synthesizer.speak(test::utterance("tone 5", "org.example.Missing"));
    EXPECT_EQ(delegate.waitFor(4), (std::vector<std::string>{"cancel:<speak>", "cancel:refuse", "cancel:die 300",
                                                             "cancel:tone 5"}));
    EXPECT_EQ(outputs.framesPlayed(), 300u);
}

TEST_F(SpeakBusTest, DestroyingTheSynthesizerReportsWhatItDropped) {
    auto other = std::make_unique<Synthesizer>(std::make_shared<SpeechSystem>(), outputs.factory());
    other->setDelegate(&delegate);
    other->speak(test::utterance("tone 441000", raw16));
    other->speak(test::utterance("tone 1", raw16));
    other.reset();
    EXPECT_EQ(delegate.waitFor(2, std::chrono::milliseconds(0)),
              (std::vector<std::string>{"cancel:tone 441000", "cancel:tone 1"}));
}

}  // namespace
}  // namespace velmora
