// The provider's voice list and how it speaks its compact voices.
#include <algorithm>
#include <map>
#include <set>

#include "ProviderFixture.h"
#include "store/BrokerHeader.h"
#include "store/VoiceStore.h"

namespace velmora::test {
namespace fs = std::filesystem;
namespace {

using VoicesTest = ProviderTest;

// (release name, locale) -> voice name, as the compact data on disk has them.
std::map<std::pair<std::string, std::string>, std::string> compactVoicesOnDisk() {
    std::map<std::pair<std::string, std::string>, std::string> voices;
    const fs::path resources = ProviderWorld::appexResources();
    for (const auto& release : VoiceRelease::all()) {
        const fs::path base = release.directory ? resources / *release.directory : resources;
        for (const auto& entry : fs::directory_iterator(base / "TTSResources")) {
            auto header = readLatin1File(entry.path() / VoiceStore::headerName);
            auto name = header ? VoiceStore::brokerTag("voice", *header) : std::nullopt;
            if (name) voices[{release.name, entry.path().filename().string()}] = *name;
        }
    }
    return voices;
}

TEST_F(VoicesTest, ListsEveryCompactVoiceWithItsIdentifierNameAndLanguage) {
    EXPECT_EQ(client.name(), "Velmora Voice");
    const auto listed = client.voices();
    const auto onDisk = compactVoicesOnDisk();
    ASSERT_EQ(listed.size(), onDisk.size());

    std::map<std::string, int> perRelease;
    for (const auto& [key, name] : onDisk) {
        const auto& [releaseName, locale] = key;
        const std::string identifier = "com.tarvenholt.Velmora.voice." + releaseName + "." + locale + "." + name;
        auto voice = std::ranges::find(listed, identifier, &ProviderClient::Voice::identifier);
        ASSERT_NE(voice, listed.end()) << identifier;
        EXPECT_EQ(voice->name, name + " (" + release(releaseName).label + ")");
        EXPECT_EQ(voice->languages, std::vector<std::string>{locale});
        EXPECT_EQ(voice->format, "audio/x-raw,format=S16LE,channels=1,rate=22050");
        ++perRelease[releaseName];
    }
    for (const auto& release : VoiceRelease::all()) EXPECT_GE(perRelease[release.name], 5) << release.name;

    auto named = [&](const std::string& identifier) {
        return std::ranges::find(listed, identifier, &ProviderClient::Voice::identifier) != listed.end();
    };
    EXPECT_TRUE(named("com.tarvenholt.Velmora.voice.ios4.en-US.Samantha"));
    EXPECT_TRUE(std::ranges::any_of(listed, [](const ProviderClient::Voice& voice) {
        return voice.identifier.starts_with("com.tarvenholt.Velmora.voice.ios7.en-US.");
    }));
}

TEST_F(VoicesTest, SpeaksTheSameUtteranceTwiceWithIdenticalSamples) {
    const ProviderClient::Request request{"The quick brown fox jumps over the lazy dog.", voiceId("ios4", "en-US")};
    const auto first = speak(request);
    const auto second = speak(request);
    EXPECT_GT(seconds(first), 1.0);
    EXPECT_GT(peak(first), 0.05);
    EXPECT_EQ(first, second);
}

TEST_F(VoicesTest, EveryVoiceSpeaksAndCompactVoicesSoundApart) {
    std::set<std::vector<std::int16_t>> distinct;
    const std::vector<std::pair<std::string, std::string>> voices{
        {"ios3", "en-US"}, {"ios4", "en-US"}, {"ios5", "en-US"}, {"ios6", "en-US"}, {"ios7", "en-US"},
        {"ios4", "fr-FR"}, {"ios5", "de-DE"}, {"ios6", "ja-JP"}, {"ios7", "zh-HK"}};
    for (const auto& [releaseName, locale] : voices) {
        const auto samples = speak({"Hello, 1 2 3.", voiceId(releaseName, locale)});
        EXPECT_GT(seconds(samples), 0.3) << releaseName << "/" << locale;
        distinct.insert(samples);
    }
    EXPECT_EQ(distinct.size(), voices.size());
}

TEST_F(VoicesTest, RatesAndPitchesChangeTheSamples) {
    const std::string voice = voiceId("ios4", "en-US");
    const std::string text = "Settings, General, Accessibility.";
    const auto normal = speak({text, voice});
    const auto fast = speak({text, voice, 1.0, 2.0});
    const auto slow = speak({text, voice, 1.0, 0.5});
    const auto high = speak({text, voice, 1.4, 1.0});
    EXPECT_LT(seconds(fast), seconds(normal) * 0.75);
    EXPECT_GT(seconds(slow), seconds(normal) * 1.4);
    EXPECT_NE(high, normal);
}

TEST_F(VoicesTest, PronunciationRulesMakeWrittenAndSpokenFormsSoundAlike) {
    struct Pair {
        const char* written;
        const char* spoken;
    };
    const Pair pairs[] = {
        {"Mac OS X", "Mac OS ten "},
        {"Panic! At the Disco", "Panic At the Disco"},
        {"Update iOS today", "Update I O S today"},
        {"ios", "I O S"},
    };
    const std::string voice = voiceId("ios4", "en-US");
    for (const auto& pair : pairs) {
        const auto written = speak({pair.written, voice});
        const auto spoken = speak({pair.spoken, voice});
        EXPECT_GT(seconds(written), 0.3) << pair.written;
        EXPECT_EQ(written, spoken) << pair.written << " / " << pair.spoken;
    }
    // A rule matches whole words only: "iostream" is not read as "I O Stream".
    EXPECT_NE(speak({"iostream", voice}), speak({"I O Stream", voice}));
}

TEST_F(VoicesTest, SpeaksSsmlWithTheRulesAppliedToItsText) {
    const std::string voice = voiceId("ios4", "en-US");
    const auto plain = speak({"<speak>Update I O S today</speak>", voice, 1.0, 1.0, true});
    const auto written = speak({"<speak>Update iOS today</speak>", voice, 1.0, 1.0, true});
    const auto withBreak = speak({"<speak>Hello<break time=\"1.5s\"/>world</speak>", voice, 1.0, 1.0, true});
    const auto withoutBreak = speak({"<speak>Hello world</speak>", voice, 1.0, 1.0, true});
    EXPECT_GT(seconds(plain), 0.3);
    EXPECT_EQ(plain, written);
    EXPECT_GT(seconds(withBreak), seconds(withoutBreak) + 0.5);
}

}  // namespace
}  // namespace velmora::test
