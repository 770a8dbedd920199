#include <gtest/gtest.h>

#include "SpokenRanges.h"

namespace velmora::provider {
namespace {

// Each ends where espeak-ng starts the next sentence (or would, past the text).
TEST(SpokenRangesTest, ASentenceEndsWhereTheEngineEndsIt) {
    const struct {
        const char* text;
        bool ssml;
        std::size_t begin, end;
    } cases[] = {
        {"Dr. Smith is here. He is fine.", false, 0, 3},
        {"Hello mr. smith. Yes", false, 0, 16},
        {"Wait... what? Yes!", false, 0, 13},
        {"He said \"hi.\" Then left.", false, 0, 13},
        {"It costs 3.5 dollars. OK.", false, 0, 21},
        {"Trailing blanks   ", false, 0, 15},
        {"你好。再见。", false, 0, 9},
        {"<speak><s>One</s><s>Two.</s></speak>", true, 10, 13},
        {"<speak>Hello<break time=\"1s\"/>world <mark name=\"m\"/>again</speak>", true, 7, 57},
        {"<speak>He said &quot;hi.&quot; Then</speak>", true, 7, 30},
    };
    for (const auto& c : cases) EXPECT_EQ(sentenceEnd(c.text, c.ssml, c.begin), c.end) << c.text;
}

TEST(SpokenRangesTest, AWordLosesThePunctuationAroundIt) {
    const struct {
        const char* text;
        bool ssml;
        std::size_t begin, end, trimmedBegin, trimmedEnd;
    } cases[] = {
        {"world.", false, 0, 6, 0, 5},
        {"\"hi.\"", false, 0, 5, 1, 3},
        {"café,", false, 0, 6, 0, 5},
        {"«Bonjour»", false, 0, 11, 2, 9},
        {"<speak>&quot;Hi&quot;</speak>", true, 7, 21, 13, 15},
        {"AT&T;", false, 0, 5, 0, 4},
        {"?", false, 0, 1, 0, 1},
    };
    for (const auto& c : cases) {
        const auto word = wordWithoutPunctuation(c.text, c.ssml, {c.begin, c.end});
        EXPECT_EQ(std::pair(word.begin, word.end), std::pair(c.trimmedBegin, c.trimmedEnd)) << c.text;
    }
}

}  // namespace
}  // namespace velmora::provider
