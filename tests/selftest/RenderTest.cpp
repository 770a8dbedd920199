#include <gtest/gtest.h>
#include <sndfile.h>

#include "selftest/DumpFiles.h"
#include "selftest/RenderResultPrinting.h"
#include "selftest/ScriptedRenderer.h"
#include "selftest/SelfTest.h"
#include "support/Files.h"

namespace velmora {
namespace {

using test::endMarker;
using test::pcm;
using test::ScriptedRenderer;

const char* const breakSsml = "<speak>Hello<break time=\"1.5s\"/>world</speak>";

TEST(RenderTest, PlainTextCarriesVoiceRateAndPitchAndIsMeasured) {
    test::TempDir temp;
    ScriptedRenderer renderer({pcm({0.0f, 0.5f}, 1, 100), endMarker()});

    const auto result = SelfTest::render(renderer, "Mac OS X", "com.example.voice", 0.25f, 1.4f, temp / "a.caf");
    ASSERT_TRUE(renderer.lastUtterance());
    const auto& utterance = *renderer.lastUtterance();
    EXPECT_EQ(utterance.text, "Mac OS X");
    EXPECT_FALSE(utterance.isSsml);
    EXPECT_EQ(utterance.voiceIdentifier, "com.example.voice");
    EXPECT_EQ(utterance.rate, 0.25f);
    EXPECT_EQ(utterance.pitchMultiplier, 1.4f);

    EXPECT_DOUBLE_EQ(result.seconds, 0.02);
    EXPECT_EQ(result.peak, 0.5f);
    EXPECT_GE(result.latency, 0.0);
    EXPECT_EQ(result.signature, 16384u);
    EXPECT_EQ(test::readSoundFile(temp / "a.caf").samples, (std::vector<float>{0.0f, 0.5f}));
}

TEST(RenderTest, PlainTextWithoutDumpWritesNoFile) {
    test::TempDir temp;
    ScriptedRenderer renderer({pcm({0.5f}), endMarker()});
    SelfTest::render(renderer, "Settings", "v", SpeechRate::defaultRate, 1.0f);
    EXPECT_TRUE(std::filesystem::is_empty(temp.path()));
}

TEST(RenderTest, SsmlCarriesOnlyTheVoice) {
    ScriptedRenderer renderer({pcm({0.25f}, 1, 100), endMarker()});

    const auto result = SelfTest::renderSsml(renderer, breakSsml, "com.example.voice");
    ASSERT_TRUE(renderer.lastUtterance());
    const auto& utterance = *renderer.lastUtterance();
    EXPECT_EQ(utterance.text, breakSsml);
    EXPECT_TRUE(utterance.isSsml);
    EXPECT_EQ(utterance.voiceIdentifier, "com.example.voice");
    EXPECT_EQ(utterance.rate, SpeechRate::defaultRate);
    EXPECT_EQ(utterance.pitchMultiplier, 1.0f);
    EXPECT_DOUBLE_EQ(result.seconds, 0.01);
}

TEST(RenderTest, RefusedSsmlIsNeitherRenderedNorWaitedFor) {
    // A renderer that would never end its stream: reaching it would cost the full timeout.
    ScriptedRenderer renderer({pcm({0.5f})});
    for (const char* refused : {"Hello", "", "<speak><s>Hello</speak>", "<s>Hello</s>", "<speak/><speak/>",
                                "<Speak>Hello</Speak>"}) {
        EXPECT_EQ(SelfTest::renderSsml(renderer, refused, "v"), RenderResult{}) << refused;
    }
    EXPECT_EQ(renderer.writes(), 0);
}

}  // namespace
}  // namespace velmora
