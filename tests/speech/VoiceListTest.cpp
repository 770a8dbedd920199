#include <gtest/gtest.h>

#include "speech/VoiceList.h"

namespace velmora {
namespace {

const std::string m(VoiceList::marker);

std::vector<std::string> names(const std::vector<SpeechVoice>& voices) {
    std::vector<std::string> result;
    for (const auto& voice : voices) result.push_back(voice.name);
    return result;
}

TEST(VoiceListTest, SortsByNameNumericallyIgnoringCaseKeepingEqualNamesInOrder) {
    const struct {
        const char* name;
        std::vector<std::string> given, expected;
        const char* locale;
    } cases[] = {
        {"case ignored, stable",
         {"Bea", "ANNA", "alex", "anna", "Anna"},
         {"alex", "ANNA", "anna", "Anna", "Bea"},
         "en_US"},
        {"locale's alphabet, English", {"Zara", "Örjan", "Olle"}, {"Olle", "Örjan", "Zara"}, "en_US"},
        {"locale's alphabet, Swedish", {"Zara", "Örjan", "Olle"}, {"Olle", "Zara", "Örjan"}, "sv_SE"},
    };
    for (const auto& c : cases) {
        std::vector<SpeechVoice> voices;
        for (const auto& name : c.given) voices.push_back({m + "ios4.en-US.x", name, "en-US"});
        EXPECT_EQ(names(VoiceList::sortedByName(voices, icu::Locale(c.locale))), c.expected) << c.name;
    }
}

TEST(VoiceListTest, KeepsMarkedVoicesAndGroupsThemByReleaseInListOrder) {
    const std::vector<SpeechVoice> all{
        {m + "ios7.en-US.A", "A", "en-US"},
        {m + "ios3.en-US.B", "B", "en-US"},
        {"x." + m + "ios7.de-DE.C", "C", "de-DE"},
        {m + "xios4.en-US.D", "D", "en-US"},
        {m + "ios4.en-US.E", "E", "en-US"},
        {"org.example.ios5.F", "F", "en-US"},
        {"com.tarvenholt.velmora.voice.ios6.G", "G", "en-US"},
        {m + "Loose", "Loose", "en-US"},
    };
    EXPECT_EQ(names(VoiceList::marked(all)), (std::vector<std::string>{"A", "B", "C", "D", "E", "Loose"}));
    // Grouping looks for ".ios5." alone; the marker filter is a step of its own.
    EXPECT_EQ(VoiceList::grouped(all), (std::vector<VoiceGroup>{{"iPhone OS 3", {all[1]}},
                                                                {"iOS 4", {all[4]}},
                                                                {"iOS 5", {all[5]}},
                                                                {"iOS 6", {all[6]}},
                                                                {"iOS 7", {all[0], all[2]}}}));
}

}  // namespace
}  // namespace velmora
