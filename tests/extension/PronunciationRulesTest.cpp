#include "PronunciationRules.h"

#include <gtest/gtest.h>

namespace velmora::provider {
namespace {

using Rule = PronunciationRules::Rule;

TEST(PronunciationRulesTest, ParsesRuleLinesAndSkipsOddOnes) {
    struct Case {
        const char* name;
        std::string file;
        std::vector<Rule> rules;
    };
    const Case cases[] = {
        {"one rule", "Mac OS X\tMac OS ten\n", {{"Mac OS X", "Mac OS ten"}}},
        {"no final line break", "a\tb", {{"a", "b"}}},
        {"carriage returns", "a\tb\r\nc\td\r\n", {{"a", "b"}, {"c", "d"}}},
        {"comments and blank lines", "# a\tb\n\n\nc\td\n", {{"c", "d"}}},
        {"no tab", "just words\n", {}},
        {"nothing written", "\tspoken\n", {}},
        {"empty spoken form", "Panic!\t\n", {{"Panic!", ""}}},
        {"second tab kept", "a\tb\tc\n", {{"a", "b\tc"}}},
        {"binary bytes", std::string("\xff\0\t\x01\n", 5), {{std::string("\xff\0", 2), "\x01"}}},
    };
    for (const auto& testCase : cases) {
        EXPECT_EQ(PronunciationRules::parse(testCase.file).rules(), testCase.rules) << testCase.name;
    }
    std::string many;
    for (int i = 0; i < 5000; ++i) many += "w\ts\n";
    EXPECT_EQ(PronunciationRules::parse(many).rules().size(), PronunciationRules::maximumRules);
}

TEST(PronunciationRulesTest, ReplacesWholeWordsInOrder) {
    const PronunciationRules rules({{"Mac OS X", "Mac OS ten"}, {"Panic!", "Panic"}, {"iOS", "I O S"}, {"ios", "I O S"},
                                    {"Dr.", "Doctor"}});
    struct Case {
        const char* text;
        const char* expected;
    };
    const Case cases[] = {
        {"Mac OS X", "Mac OS ten"},
        {"Mac OS X ", "Mac OS ten"},
        {"Panic! At the Disco", "Panic At the Disco"},
        {"Update iOS today", "Update I O S today"},
        {"ios", "I O S"},
        {"iostream and macios", "iostream and macios"},
        {"iOS,ios;iOS", "I O S,I O S;I O S"},
        {"IOS", "IOS"},
        {"Mac OS XI", "Mac OS XI"},
        {"Dr.Who", "DoctorWho"},
        {"  many \n\t blanks  ", "many blanks"},
        {"", ""},
    };
    for (const auto& testCase : cases) {
        EXPECT_EQ(rules.applyToText(testCase.text), testCase.expected) << testCase.text;
    }
}

TEST(PronunciationRulesTest, LeavesSsmlMarkupAlone) {
    const PronunciationRules rules({{"ios", "I O S"}, {"speak", "talk"}});
    EXPECT_EQ(rules.applyToSsml("<speak xml:lang=\"ios\">ios <break/> speak</speak>"),
              "<speak xml:lang=\"ios\">I O S <break/> talk</speak>");
    EXPECT_EQ(rules.applyToSsml("ios <unclosed ios"), "I O S <unclosed ios");
}

TEST(PronunciationRulesTest, StopsRulesThatGrowTheTextWithoutBound) {
    std::vector<Rule> doubling(40, Rule{"-", "--"});
    const std::string text = PronunciationRules(doubling).applyToText("-");
    EXPECT_LE(text.size(), PronunciationRules::maximumTextSize);
    EXPECT_GE(text.size(), PronunciationRules::maximumTextSize / 2);
}

TEST(PronunciationRulesTest, FollowedByKeepsBothSetsInOrder) {
    const auto combined = PronunciationRules({Rule{"a", "b"}}).followedBy(PronunciationRules({Rule{"b", "c"}}));
    EXPECT_EQ(combined.applyToText("a"), "c");
}

}  // namespace
}  // namespace velmora::provider
