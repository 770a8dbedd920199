#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "SsmlPhrases.h"

namespace velmora::provider {
namespace {

struct Phrase {
    std::string ssml;
    std::optional<double> breakBefore;
    bool continuesSentence = false;
    bool operator==(const Phrase&) const = default;
};

Phrase phrase(const char* ssml, std::optional<double> breakBefore = std::nullopt,
              bool continuesSentence = false) {
    return {ssml, breakBefore, continuesSentence};
}

std::ostream& operator<<(std::ostream& out, const Phrase& phrase) {
    return out << phrase.ssml << " break " << phrase.breakBefore.value_or(-1) << " continues "
               << phrase.continuesSentence;
}

TEST(SsmlPhrasesTest, CutsAtSentencesParagraphsAndBreaksAndReopensWhatIsOpen) {
    const struct {
        const char* name;
        const char* ssml;
        std::vector<Phrase> phrases;
        std::optional<double> breakAfter;
    } cases[] = {
        // clang-format off
        {"sentences", "<speak><s>A</s><s xml:lang=\"fr\">B</s></speak>",
         {phrase("<speak>A</speak>"), phrase("<speak><s xml:lang=\"fr\">B</s></speak>")}, {}},
        {"breaks inside an element", "<speak><prosody rate=\"50%\">A<break time=\"1.5s\"/>B<break/>C</prosody></speak>",
         {phrase("<speak><prosody rate=\"50%\">A</prosody></speak>"), phrase("<speak><prosody rate=\"50%\">B</prosody></speak>", 1.5, true),
          phrase("<speak><prosody rate=\"50%\">C</prosody></speak>", 0.21, true)}, {}},
        {"times and strengths add up",
         "<speak>A<break time=\" 250ms \"/><break strength=\"x-strong\"/><break time=\"2x\" strength=\"weak\"/>B</speak>",
         {phrase("<speak>A</speak>"), phrase("<speak>B</speak>", 0.25 + 0.8 + 0.14, true)}, {}},
        {"strength none cuts nothing", "<speak>A<break strength=\"none\"/>B</speak>", {phrase("<speak>AB</speak>")}, {}},
        {"stretches without text make no phrase but keep their marks",
         "<speak><s>A</s> <s><mark name=\"m\"/><break time=\"0.0ms\"/></s><s>B</s><mark name=\"n\"/><break time=\"1s\"/></speak>",
         {phrase("<speak>A</speak>"), phrase("<speak><mark name=\"m\"/>B<mark name=\"n\"/></speak>", 0.0)}, 1.0},
        {"a leading break and comments", "<?xml version=\"1.0\"?><speak><!-- x --><break time=\"1s\"/>A</speak>",
         {phrase("<speak>A</speak>", 1.0)}, {}},
        {"unclosed markup is text", "<speak><s>Hello <break", {phrase("<speak>Hello <break</speak>")}, {}},
        {"stray end tags", "<p>Hello</p></speak></speak>", {phrase("Hello")}, {}},
        // clang-format on
    };
    for (const auto& c : cases) {
        const SsmlPhrases result = splitIntoPhrases(SourceMappedText(c.ssml));
        std::vector<Phrase> phrases;
        for (const auto& made : result.phrases)
            phrases.push_back({made.ssml.text(), made.breakBefore, made.continuesSentence});
        EXPECT_EQ(phrases, c.phrases) << c.name;
        EXPECT_EQ(result.breakAfter, c.breakAfter) << c.name;
    }
}

TEST(SsmlPhrasesTest, EveryByteOfAPhraseMapsBackToTheUtterance) {
    const std::string ssml = "<speak>Hi<break/>you</speak>";
    const SsmlPhrases result = splitIntoPhrases(SourceMappedText(ssml));
    ASSERT_EQ(result.phrases.size(), 2u);
    const SourceMappedText& second = result.phrases[1].ssml;  // "<speak>you</speak>"
    const struct {
        std::size_t begin, end, originBegin, originEnd;
    } cases[] = {{0, 7, 0, 7}, {7, 10, 17, 20}, {10, 18, 20, 28}};
    for (const auto& c : cases) {
        const auto origin = second.origin(c.begin, c.end);
        EXPECT_EQ(std::pair(origin.begin, origin.end), std::pair(c.originBegin, c.originEnd)) << c.begin;
    }
    const auto closer = result.phrases[0].ssml.origin(9, 17);  // "</speak>" closing "Hi"
    EXPECT_EQ(closer.begin, 9u);
    EXPECT_EQ(closer.end, 9u);
}

}  // namespace
}  // namespace velmora::provider
