// Requests the provider must survive: odd texts and rules, clients that go away, many at once.
#include <unistd.h>

#include <cmath>
#include <future>

#include "ProviderFixture.h"
#include "support/Files.h"

namespace velmora::test {
namespace fs = std::filesystem;
namespace {

using RobustnessTest = ProviderTest;

TEST_F(RobustnessTest, OddRequestsEndInAudioOrAClosedStream) {
    struct Case {
        const char* name;
        ProviderClient::Request request;
    };
    const std::string voice = voiceId("ios4", "en-US");
    const Case cases[] = {
        {"empty text", {"", voice}},
        {"unclosed SSML", {"<speak><s>Hello <break", voice, 1.0, 1.0, true}},
        {"SSML without a speak root", {"<p>Hello</p></speak></speak>", voice, 1.0, 1.0, true}},
        {"SSML with unknown elements", {"<speak><blink rate=\"x\">Hello</blink><prosody pitch=\"+900%\">hi</prosody></speak>", voice, 1.0, 1.0, true}},
        {"SSML with a bad entity", {"<speak>&nosuch; &#xFFFFFFFF; hi</speak>", voice, 1.0, 1.0, true}},
        {"control characters", {"\x01\x02\x1b[31m\x7f bell\a", voice}},
        {"not a number pitch and rate", {"Hello", voice, std::nan(""), std::nan("")}},
        {"negative and huge values", {"Hello", voice, -3.0, 1e300}},
        {"long text", {std::string(200, 'a') + " " + std::string(3000, ' ') + "end.", voice}},
    };
    for (const auto& testCase : cases) {
        EXPECT_TRUE(client.speak(testCase.request).has_value()) << testCase.name;
    }
    EXPECT_GT(seconds(speak({"Still here.", voice})), 0.3);
}

TEST_F(RobustnessTest, RuleFilesWithOddLinesStillSpeak) {
    struct Case {
        const char* name;
        std::string rules;
    };
    const Case cases[] = {
        {"no tab, only a tab, comments", "no tab here\n\t\n#\tcomment\n\n"},
        {"carriage returns", "Hello\tHi\r\nworld\r\n"},
        {"binary", std::string("\0\xff\t\x01\n\xfe\xfe\t\n", 9)},
        {"a rule that empties the text", "Hello\t\n"},
        {"rules that grow the text", "a\taaaaaaaaaaaaaaaa\naaaa\taaaaaaaaaaaaaaaa\n"},
        {"a very long line", std::string(500000, 'x') + "\ty\n"},
    };
    const std::string voice = voiceId("ios5", "fr-FR");
    for (const auto& testCase : cases) {
        const fs::path pack = installPack("ios5", "fr-FR");
        writeFile(pack / "user_rules.txt", testCase.rules);
        auto samples = client.speak({"Hello a world", voice});
        EXPECT_TRUE(samples.has_value()) << testCase.name;
        removePack("ios5", "fr-FR");
    }
}

TEST_F(RobustnessTest, AnUnknownVoiceIsRefused) {
    try {
        client.speak({"Hello", "com.tarvenholt.Velmora.voice.ios9.xx-XX.Nobody"});
        ADD_FAILURE() << "an unknown voice was accepted";
    } catch (const sdbus::Error& error) {
        EXPECT_EQ(error.getName(), "com.tarvenholt.Velmora.Speech.Provider.Error.UnknownVoice");
    }
}

TEST_F(RobustnessTest, AClientThatClosesItsPipeEarlyStopsOnlyItsOwnUtterance) {
    const std::string voice = voiceId("ios4", "en-US");
    const std::string shortText = "Settings";
    const auto reference = speak({shortText, voice});
    for (int i = 0; i < 4; ++i) {
        const int pipe = client.startSpeaking({std::string(400, 'x') + " long enough to fill the pipe.", voice});
        char some[512];
        EXPECT_GT(::read(pipe, some, sizeof some), 0);
        ::close(pipe);
    }
    EXPECT_EQ(speak({shortText, voice}), reference);
    EXPECT_EQ(client.name(), "Velmora Voice");
}

TEST_F(RobustnessTest, ManyRequestsAtOnceAllComplete) {
    const std::vector<std::string> voices{voiceId("ios4", "en-US"), voiceId("ios6", "de-DE"), voiceId("ios7", "ja-JP")};
    const std::string text = "Mail, 3 unread messages.";
    std::vector<std::vector<std::int16_t>> references;
    for (const auto& voice : voices) references.push_back(speak({text, voice}));

    constexpr int requests = 24;
    std::vector<std::future<std::optional<std::vector<std::int16_t>>>> streams;
    for (int i = 0; i < requests; ++i) {
        const int pipe = client.startSpeaking({text, voices[i % voices.size()]});
        streams.push_back(std::async(std::launch::async, [pipe] { return ProviderClient::readToEnd(pipe); }));
    }
    for (int i = 0; i < requests; ++i) {
        auto samples = streams[i].get();
        ASSERT_TRUE(samples.has_value()) << "request " << i;
        EXPECT_EQ(*samples, references[i % voices.size()]) << "request " << i;
    }
}

}  // namespace
}  // namespace velmora::test
