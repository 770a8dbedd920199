#include <gtest/gtest.h>

#include "SsmlForEspeak.h"

namespace velmora::provider {
namespace {

TEST(SsmlForEspeakTest, RewritesWhatEspeakWouldMisreadAndNothingElse) {
    const std::pair<const char*, const char*> cases[] = {
        {"<speak><s>One</s><s >Two</s></speak>", "<speak>One</s>Two</s></speak>"},
        {"<speak><s xml:lang=\"fr\">Un</s><span>x</span></speak>",
         "<speak><s xml:lang=\"fr\">Un</s><span>x</span></speak>"},
        {"<voice name=\"\">a<voice name='Anna'>b</voice>c</voice><voice name=\"\"/>d",
         "a<voice name='Anna'>b</voice>cd"},
        {"<voice gender=\"female\" name=\"\">a</voice>", "<voice gender=\"female\" name=\"\">a</voice>"},
        {"<voice name=\"\" broken>a</voice>", "<voice name=\"\" broken>a</voice>"},
        {"<break time=\"1.5s\"/><break time = '0.25 s'/><break time=\"2s\"/>",
         "<break time=\"1500ms\"/><break time = '250ms'/><break time=\"2s\"/>"},
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
