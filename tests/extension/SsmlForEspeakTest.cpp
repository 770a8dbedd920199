#include <gtest/gtest.h>

#include "SsmlForEspeak.h"

namespace velmora::provider {
namespace {

TEST(SsmlForEspeakTest, RewritesWhatEspeakWouldMisreadAndNothingElse) {
    const std::pair<const char*, const char*> cases[] = {
        {"<speak><s xml:lang=\"fr\">Un</s><span>x</span></speak>",
         "<speak><s xml:lang=\"fr\">Un</s><span>x</span></speak>"},
        {"<voice name=\"\">a<voice name='Anna'>b</voice>c</voice><voice name=\"\"/>d",
         " a<voice name='Anna'>b</voice>c  d"},
        {"<voice gender=\"female\" name=\"\">a</voice>", "<voice gender=\"female\" name=\"\">a</voice>"},
        {"<voice name=\"\" broken>a</voice>", "<voice name=\"\" broken>a</voice>"},
        {"Shift <say-as interpret-as=\"characters\">q</say-as>!", "Shift q!"},
        {"<say-as interpret-as='characters'> é&amp;1</say-as>", "é &amp; 1"},
        {"<say-as interpret-as=\"characters\">a<mark name=\"m\"/>b</say-as>",
         "<say-as interpret-as=\"characters\">a<mark name=\"m\"/>b</say-as>"},
        {"<say-as interpret-as=\"date\">1/2</say-as>", "<say-as interpret-as=\"date\">1/2</say-as>"},
    };
    for (const auto& [ssml, expected] : cases)
        EXPECT_EQ(ssmlForEspeak(SourceMappedText(ssml)).text(), expected);
}

TEST(SsmlForEspeakTest, PlainTextBecomesEscapedSsmlThatMapsBackToIt) {
    const auto ssml = plainTextAsSsml(SourceMappedText("a<b & c"));
    ASSERT_EQ(ssml.text(), "<speak>a&lt;b &amp; c</speak>");
    const struct {
        std::size_t begin, end, originBegin, originEnd;
    } cases[] = {{7, 8, 0, 1}, {8, 12, 1, 2}, {12, 13, 2, 3}, {14, 19, 4, 5}, {20, 21, 6, 7}, {21, 29, 7, 7}};
    for (const auto& c : cases) {
        const auto origin = ssml.origin(c.begin, c.end);
        EXPECT_EQ(std::pair(origin.begin, origin.end), std::pair(c.originBegin, c.originEnd)) << c.begin;
    }
}

}  // namespace
}  // namespace velmora::provider
