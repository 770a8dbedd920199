#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "samples/Samples.h"

namespace velmora {
namespace {

// The 38 languages both tables cover.
const std::vector<std::string> languages{
    "ar-SA", "cs-CZ", "da-DK", "de-DE", "el-GR", "en-AU", "en-GB",  "en-IE", "en-ZA", "en-US",
    "es-ES", "es-MX", "fi-FI", "fr-CA", "fr-FR", "hi-IN", "hu-HU",  "id-ID", "it-IT", "ja-JP",
    "ko-KR", "nl-BE", "nl-NL", "no-NO", "nb-NO", "pl-PL", "pt-BR",  "pt-PT", "ro-RO", "ru-RU",
    "sk-SK", "sv-SE", "th-TH", "tr-TR", "zh-CN", "zh-HK", "yue-HK", "zh-TW"};
const std::string usSentence = "Hello! This is Samantha. VoiceOver on, 12 new messages from Dr. Smith.";
const std::string englishGreeting = "Hello! My name is %@.";

TEST(SamplesTest, EveryLanguageHasItsOwnSentenceAndAGreetingWithThePlaceholderOnce) {
    std::vector<std::string> sentences;
    for (const auto& language : languages) {
        const std::string sentence(Samples::textFor(language));
        const std::string greeting(Samples::templateFor(language));
        sentences.push_back(sentence);
        // Only en-US may answer with the US sentence, only English with the English greeting.
        EXPECT_EQ(sentence == usSentence, language == "en-US") << language;
        EXPECT_EQ(greeting == englishGreeting, language.starts_with("en-")) << language;
        const auto first = greeting.find("%@");
        EXPECT_NE(first, std::string::npos) << language;
        EXPECT_EQ(greeting.find("%@", first + 1), std::string::npos) << language;
    }
    // Rows share a sentence only where the languages are one (nb/no, zh-HK/yue-HK).
    std::ranges::sort(sentences);
    EXPECT_EQ(std::ranges::unique(sentences).size(), 2u);
    // Spot checks, one per script.
    EXPECT_EQ(Samples::textFor("de-DE"), "Guten Tag, wie geht es Ihnen? Heute ist ein schöner Tag.");
    EXPECT_EQ(Samples::textFor("ja-JP"), "こんにちは、お元気ですか？今日はいい天気ですね。");
    EXPECT_EQ(Samples::templateFor("th-TH"), "สวัสดีค่ะ! ฉันชื่อ%@");
    EXPECT_EQ(Samples::templateFor("fr-FR"), "Bonjour ! Je m'appelle %@.");
}

TEST(SamplesTest, CodesWithoutARowFallBackByLanguageThenToUsEnglish) {
    const struct {
        const char* name;
        const char* code;
        std::string expectedFrom;  // the code whose row answers
    } cases[] = {
        {"region without a row", "de-AT", "de-DE"},
        {"language alone", "yue", "yue-HK"},
        {"language that is no key's prefix", "fil-PH", "en-US"},
        {"prefix test is case-sensitive", "EN-us", "en-US"},
        {"empty code", "", "en-US"},
        {"only hyphens", "---", "en-US"},
        {"empty pieces dropped", "--sv--FI", "sv-SE"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Samples::textFor(c.code), Samples::textFor(c.expectedFrom)) << c.name;
        EXPECT_EQ(Samples::templateFor(c.code), Samples::templateFor(c.expectedFrom)) << c.name;
    }
    EXPECT_EQ(Samples::textFor("fil-PH"), usSentence);
}

// Where several rows share the language part, any of them may answer ("-fr" splits to fr, and a
// single letter is a prefix too).
TEST(SamplesTest, SharedLanguagePartsAnswerWithOneOfTheirRows) {
    const std::pair<const char*, const char*> cases[] = {
        {"-fr", "fr"}, {"n", "n"}, {"en-NZ", "en"}, {"zh-SG", "zh"}};
    for (const auto& [code, part] : cases) {
        std::vector<std::string_view> sentences, greetings;
        for (const auto& language : languages) {
            if (!language.starts_with(part)) continue;
            sentences.push_back(Samples::textFor(language));
            greetings.push_back(Samples::templateFor(language));
        }
        EXPECT_NE(std::ranges::find(sentences, Samples::textFor(code)), sentences.end()) << code;
        EXPECT_NE(std::ranges::find(greetings, Samples::templateFor(code)), greetings.end()) << code;
    }
}

}  // namespace
}  // namespace velmora
