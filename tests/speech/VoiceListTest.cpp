#include <gtest/gtest.h>

#include "speech/VoiceList.h"

namespace velmora {
namespace {

SpeechVoice voice(std::string name, std::string identifier = "") {
    if (identifier.empty()) identifier = std::string(VoiceList::marker) + "ios4.en-US." + name;
    return {identifier, name, "en-US"};
}

std::vector<std::string> names(const std::vector<SpeechVoice>& voices) {
    std::vector<std::string> result;
    for (const auto& v : voices) result.push_back(v.name);
    return result;
}

std::vector<std::string> identifiers(const std::vector<SpeechVoice>& voices) {
    std::vector<std::string> result;
    for (const auto& v : voices) result.push_back(v.identifier);
    return result;
}

TEST(VoiceListTest, MarkerIsACaseSensitiveSubstringAnywhereInTheIdentifier) {
    const std::vector<SpeechVoice> all{
        voice("Prefix", "com.tarvenholt.Velmora.voice.ios4.en-US.Prefix"),
        voice("Other", "org.example.voice.Other"),
        voice("Inside", "x.com.tarvenholt.Velmora.voice.ios5.en-US.Inside"),
        voice("Lower case", "com.tarvenholt.velmora.voice.ios5.en-US.Lower"),
        voice("No dot", "com.tarvenholt.Velmora.voiceios5"),
        voice("Bare", "com.tarvenholt.Velmora.voice."),
    };
    EXPECT_EQ(names(VoiceList::marked(all)), (std::vector<std::string>{"Prefix", "Inside", "Bare"}));
}

TEST(VoiceListTest, SortsByNameLikeAFileManager) {
    struct Case {
        const char* name;
        std::vector<std::string> given;
        std::vector<std::string> expected;
        const char* locale;
    };
    const std::vector<Case> cases{
        {"digits by value", {"Tom 10", "Tom 9", "Tom 100"}, {"Tom 9", "Tom 10", "Tom 100"}, "en_US"},
        {"case ignored", {"Bruce", "alex", "Carl"}, {"alex", "Bruce", "Carl"}, "en_US"},
        {"accents after plain letters", {"Zoe", "Émile", "Eric"}, {"Émile", "Eric", "Zoe"}, "en_US"},
        {"locale's alphabet, English", {"Zara", "Örjan", "Olle"}, {"Olle", "Örjan", "Zara"}, "en_US"},
        {"locale's alphabet, Swedish", {"Zara", "Örjan", "Olle"}, {"Olle", "Zara", "Örjan"}, "sv_SE"},
    };
    for (const auto& c : cases) {
        std::vector<SpeechVoice> voices;
        for (const auto& n : c.given) voices.push_back(voice(n));
        EXPECT_EQ(names(VoiceList::sortedByName(voices, icu::Locale(c.locale))), c.expected) << c.name;
    }
}

TEST(VoiceListTest, SortKeepsTheGivenOrderOfNamesThatCompareEqual) {
    const std::vector<SpeechVoice> voices{
        voice("anna", "3"), voice("Bea", "1"), voice("Anna", "2"), voice("ANNA", "4"), voice("anna", "5"),
    };
    EXPECT_EQ(identifiers(VoiceList::sortedByName(voices, icu::Locale("en_US"))),
              (std::vector<std::string>{"3", "2", "4", "5", "1"}));
}

TEST(VoiceListTest, GroupsFollowReleaseOrderAndKeepTheListOrder) {
    const std::string m(VoiceList::marker);
    const std::vector<SpeechVoice> sorted{
        voice("A", m + "ios7.en-US.A"),  voice("B", m + "ios3.en-US.B"), voice("C", m + "ios7.de-DE.C"),
        voice("D", m + "extra.D"),       voice("E", m + "xios4.en-US.E"), voice("F", m + "ios4.en-US.F"),
        voice("G", "org.example.ios5.G"),
    };
    const std::vector<VoiceGroup> groups = VoiceList::grouped(sorted);
    ASSERT_EQ(groups.size(), 4u);
    EXPECT_EQ(groups[0], (VoiceGroup{"iPhone OS 3", {sorted[1]}}));
    EXPECT_EQ(groups[1], (VoiceGroup{"iOS 4", {sorted[5]}}));
    // Grouping relies on ".ios5." alone; the marker filter is a separate step.
    EXPECT_EQ(groups[2], (VoiceGroup{"iOS 5", {sorted[6]}}));
    EXPECT_EQ(groups[3], (VoiceGroup{"iOS 7", {sorted[0], sorted[2]}}));
    EXPECT_TRUE(VoiceList::grouped({}).empty());
}

TEST(VoiceListTest, AVoiceWithTheMarkerButNoReleaseKeyIsListedInNoGroup) {
    const std::vector<SpeechVoice> all{voice("Loose", std::string(VoiceList::marker) + "Loose")};
    const auto kept = VoiceList::marked(all);
    EXPECT_EQ(kept, all);
    EXPECT_TRUE(VoiceList::grouped(kept).empty());
}

}  // namespace
}  // namespace velmora
