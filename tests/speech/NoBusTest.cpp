#include <gtest/gtest.h>

#include <cstdlib>

#include "speech/SpeechSystem.h"
#include "speech/SpeechTestSupport.h"
#include "speech/Synthesizer.h"

namespace velmora {
namespace {

TEST(NoBusTest, AnUnreachableSessionBusGivesNoConnection) {
    ::setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/velmora-bus", 1);
    EXPECT_EQ(SpielBus::connectToSession(), nullptr);
}

TEST(NoBusTest, WithoutABusThereAreNoVoicesAndEveryUtteranceEndsAtOnce) {
    auto system = std::make_shared<SpeechSystem>(nullptr);
    EXPECT_TRUE(system->voices().empty());
    system->updateSpeechVoices();
    EXPECT_TRUE(system->voices().empty());
    EXPECT_FALSE(system->voiceForLanguage("en-US"));

    test::CountingOutputs outputs;
    test::DelegateRecorder delegate;
    Synthesizer synthesizer(system, outputs.factory());
    synthesizer.setDelegate(&delegate);

    test::RenderCapture capture;
    synthesizer.write(test::utterance("Hello", "some.voice"), capture.callback());
    const test::Render render = capture.wait();
    EXPECT_TRUE(render.ended);
    EXPECT_TRUE(render.samples.empty());

    synthesizer.speak(test::utterance("Hello", "some.voice"));
    synthesizer.speak(test::utterance("Hi"));
    EXPECT_EQ(delegate.waitFor(2), (std::vector<std::string>{"cancel:Hello", "cancel:Hi"}));
    EXPECT_EQ(outputs.framesPlayed(), 0u);
}

}  // namespace
}  // namespace velmora
