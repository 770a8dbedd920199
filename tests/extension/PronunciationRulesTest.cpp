#include <gtest/gtest.h>

#include "PronunciationRules.h"

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

TEST(PronunciationRulesTest, ReplacesWholeWordsInOrderAndLeavesMarkupAlone) {
    const auto rules =
        PronunciationRules({{"Mac OS X", "Mac OS ten"}, {"Panic!", "Panic"}, {"Dr.", "Doctor"}})
            .followedBy(PronunciationRules({{"iOS", "I O S"}, {"ios", "I O S"}, {"Doctor", "Dr"}}));
    const std::pair<const char*, const char*> cases[] = {
        {"iostream and macios", "iostream and macios"},
        {"iOS,ios;iOS", "I O S,I O S;I O S"},
        {"IOS", "IOS"},
        {"Mac OS XI", "Mac OS XI"},
        {"Dr.Who", "DoctorWho"},
        {"Dr. Who", "Dr Who"},
        {"  Mac OS X \n\t blanks  ", "Mac OS ten blanks"},
    };
    auto text = [&](std::string_view t) { return rules.applyToText(SourceMappedText(t)).text(); };
    auto ssml = [&](std::string_view t) { return rules.applyToSsml(SourceMappedText(t)).text(); };
    for (const auto& [written, expected] : cases) EXPECT_EQ(text(written), expected) << written;
    EXPECT_EQ(ssml("<speak xml:lang=\"ios\">ios <break/> Dr.</speak>"),
              "<speak xml:lang=\"ios\">I O S <break/> Dr</speak>");
    EXPECT_EQ(ssml("ios <unclosed ios"), "I O S <unclosed ios");
}

// Word positions the engine reports in the rewritten text lead back to the client's words.
TEST(PronunciationRulesTest, RewrittenTextKnowsWhereEachPartCameFrom) {
    const PronunciationRules rules({{"Dr.", "Doctor"}, {"Doctor", "Dr"}, {"ios", "I O S"}});
    const auto spoken = rules.applyToText(SourceMappedText("  Dr.  Who uses\tios now"));
    ASSERT_EQ(spoken.text(), "Dr Who uses I O S now");
    const struct {
        std::size_t begin, end, originBegin, originEnd;
    } cases[] = {{0, 2, 2, 5},     {3, 6, 7, 10},    {2, 3, 5, 6},    {12, 17, 16, 19},
                 {14, 15, 16, 19}, {18, 21, 20, 23}, {21, 21, 23, 23}};
    for (const auto& c : cases) {
        const auto origin = spoken.origin(c.begin, c.end);
        EXPECT_EQ(std::pair(origin.begin, origin.end), std::pair(c.originBegin, c.originEnd)) << c.begin;
    }
}

TEST(PronunciationRulesTest, StopsRulesThatGrowTheTextWithoutBound) {
    const std::string text =
        PronunciationRules(std::vector<Rule>(40, Rule{"-", "--"})).applyToText(SourceMappedText("-")).text();
    EXPECT_LE(text.size(), PronunciationRules::maximumTextSize);
    EXPECT_GE(text.size(), PronunciationRules::maximumTextSize / 2);
}

}  // namespace
}  // namespace velmora::provider
