#include <gtest/gtest.h>

#include "speech/ProviderControl.h"
#include "speech/SpeechSystem.h"
#include "speech/TestProviderVoices.h"

namespace velmora {
namespace {

std::vector<SpeechVoice> listed(const std::string& set) {
    std::vector<SpeechVoice> voices;
    for (const auto& voice : test::testVoices(set)) voices.push_back({voice.identifier, voice.name, voice.languages.front()});
    return voices;
}

TEST(SpeechSystemBusTest, ListsEveryProvidersVoicesProviderByProvider) {
    EXPECT_TRUE(SpielBus::isProviderName(test::tonesProvider));
    SpeechSystem system;
    ASSERT_TRUE(system.bus());
    std::vector<SpeechVoice> expected = listed("chimes");  // its name sorts first
    const auto tones = listed("tones");
    expected.insert(expected.end(), tones.begin(), tones.end());
    EXPECT_EQ(system.voices(), expected);

    const auto raw = system.providerVoice(std::string(test::testVoices("tones")[1].identifier));
    ASSERT_TRUE(raw);
    EXPECT_EQ(raw->busName, test::tonesProvider);
    EXPECT_EQ(raw->outputFormat, "audio/x-raw,format=F32LE,channels=2,rate=16000");
    EXPECT_FALSE(system.providerVoice("org.example.Missing"));
}

TEST(SpeechSystemBusTest, KeepsTheListUntilAskedToReadItAgain) {
    SpeechSystem system;
    const std::size_t before = system.voices().size();
    const std::string identifier = "org.example.Late";  // no marker: the window's list stays as it was
    test::addVoice(test::chimesProvider, "Late", identifier, "audio/x-raw,format=S16LE,rate=8000", {"ja-JP"});
    EXPECT_EQ(system.voices().size(), before);
    system.updateSpeechVoices();
    const auto voices = system.voices();
    ASSERT_EQ(voices.size(), before + 1);
    EXPECT_EQ(voices[2], (SpeechVoice{identifier, "Late", "ja-JP"}));
    // Another system finds an identifier it has not listed by reading the list again.
    SpeechSystem fresh;
    (void)fresh.voices();
    test::addVoice(test::chimesProvider, "Later", identifier + "2", "audio/x-raw,format=S16LE,rate=8000", {"ja-JP"});
    EXPECT_TRUE(fresh.providerVoice(identifier + "2"));
}

TEST(SpeechSystemBusTest, FindsAVoiceForALanguage) {
    SpeechSystem system;
    const std::vector<std::pair<std::string, std::optional<std::string>>> cases{
        {"en-GB", "Framed 32"}, {"en_gb", "Framed 32"}, {"EN-us", "Raw 16"}, {"de", "raw 32"},
        {"de-AT", "raw 32"},     {"it-IT", "Chime 10"},  {"pt-BR", std::nullopt},
    };
    for (const auto& [language, name] : cases) {
        const auto voice = system.voiceForLanguage(language);
        EXPECT_EQ(voice ? std::optional(voice->name) : std::nullopt, name) << language;
    }
}

}  // namespace
}  // namespace velmora
