// The provider's pieces that turn a client's text into what espeak-ng reads: each rewrite keeps,
// for every byte, where in the client's text it came from.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <optional>

#include "Confinement.h"
#include "PronunciationRules.h"
#include "SpokenRanges.h"
#include "SsmlForEspeak.h"
#include "SsmlPhrases.h"
#include "support/Files.h"

namespace velmora::provider {
namespace {

using Rule = PronunciationRules::Rule;
using Range = std::pair<std::size_t, std::size_t>;
Range range(SourceMappedText::Span span) { return {span.begin, span.end}; }

// Rows {begin, end, originBegin, originEnd}: bytes [begin, end) of `mapped` came from the origin.
void expectOrigins(const SourceMappedText& mapped, std::initializer_list<std::array<std::size_t, 4>> rows) {
    for (const auto& [begin, end, originBegin, originEnd] : rows)
        EXPECT_EQ(range(mapped.origin(begin, end)), Range(originBegin, originEnd)) << begin;
}

TEST(PronunciationRulesTest, ParsesRuleLinesAndSkipsOddOnes) {
    const std::tuple<const char*, std::string, std::vector<Rule>> cases[] = {
        {"no final line break", "a\tb", {{"a", "b"}}},
        {"carriage returns", "a\tb\r\nc\td\r\n", {{"a", "b"}, {"c", "d"}}},
        {"comments and blank lines", "# a\tb\n\n\nc\td\n", {{"c", "d"}}},
        {"no tab", "just words\n", {}},
        {"nothing written", "\tspoken\n", {}},
        {"empty spoken form", "Panic!\t\n", {{"Panic!", ""}}},
        {"second tab kept", "a\tb\tc\n", {{"a", "b\tc"}}},
        {"binary bytes", std::string("\xff\0\t\x01\n", 5), {{std::string("\xff\0", 2), "\x01"}}},
    };
    for (const auto& [name, file, rules] : cases)
        EXPECT_EQ(PronunciationRules::parse(file).rules(), rules) << name;
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
    auto ssml = [&](std::string_view t) { return rules.applyToSsml(SourceMappedText(t)).text(); };
    for (const auto& [written, expected] : cases)
        EXPECT_EQ(rules.applyToText(SourceMappedText(written)).text(), expected) << written;
    EXPECT_EQ(ssml("<speak xml:lang=\"ios\">ios <break/> Dr.</speak>"),
              "<speak xml:lang=\"ios\">I O S <break/> Dr</speak>");
    EXPECT_EQ(ssml("ios <unclosed ios"), "I O S <unclosed ios");
}

// Engine positions in the rewritten text lead back to the client's words; growing rules stop.
TEST(PronunciationRulesTest, RewrittenTextKnowsWhereEachPartCameFromAndStaysBounded) {
    const PronunciationRules rules({{"Dr.", "Doctor"}, {"Doctor", "Dr"}, {"ios", "I O S"}});
    const auto spoken = rules.applyToText(SourceMappedText("  Dr.  Who uses\tios now"));
    ASSERT_EQ(spoken.text(), "Dr Who uses I O S now");
    expectOrigins(spoken, {{0, 2, 2, 5}, {3, 6, 7, 10}, {2, 3, 5, 6}, {12, 17, 16, 19}});
    expectOrigins(spoken, {{14, 15, 16, 19}, {18, 21, 20, 23}, {21, 21, 23, 23}});
    const std::string grown =
        PronunciationRules(std::vector<Rule>(40, Rule{"-", "--"})).applyToText(SourceMappedText("-")).text();
    EXPECT_LE(grown.size(), PronunciationRules::maximumTextSize);
    EXPECT_GE(grown.size(), PronunciationRules::maximumTextSize / 2);
}

// Sentences end where espeak-ng ends them (or would, past the text); words lose their punctuation.
TEST(SpokenRangesTest, SentencesEndWhereTheEngineEndsThemAndWordsLoseTheirPunctuation) {
    const std::tuple<const char*, bool, std::size_t, std::size_t> sentences[] = {
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
    for (const auto& [text, ssml, begin, end] : sentences)
        EXPECT_EQ(sentenceEnd(text, ssml, begin), end) << text;
    const std::tuple<const char*, bool, Range, Range> words[] = {
        {"world.", false, {0, 6}, {0, 5}},
        {"\"hi.\"", false, {0, 5}, {1, 3}},
        {"café,", false, {0, 6}, {0, 5}},
        {"«Bonjour»", false, {0, 11}, {2, 9}},
        {"<speak>&quot;Hi&quot;</speak>", true, {7, 21}, {13, 15}},
        {"AT&T;", false, {0, 5}, {0, 4}},
        {"?", false, {0, 1}, {0, 1}},
    };
    for (const auto& [text, ssml, word, trimmed] : words)
        EXPECT_EQ(range(wordWithoutPunctuation(text, ssml, {word.first, word.second})), trimmed) << text;
}

TEST(SsmlForEspeakTest, RewritesWhatEspeakWouldMisreadAndNothingElse) {
    const std::pair<const char*, const char*> cases[] = {
        // no rewrite: left as it is
        {"<speak><s xml:lang=\"fr\">Un</s><span>x</span></speak>", nullptr},
        {"<voice name=\"\">a<voice name='Anna'>b</voice>c</voice><voice name=\"\"/>d",
         " a<voice name='Anna'>b</voice>c  d"},
        {"<voice gender=\"female\" name=\"\">a</voice>", nullptr},
        {"<voice name=\"\" broken>a</voice>", nullptr},
        {"Shift <say-as interpret-as=\"characters\">q</say-as>!", "Shift q!"},
        {"<say-as interpret-as='characters'> é&amp;1</say-as>", "é &amp; 1"},
        {"<say-as interpret-as=\"characters\">a<mark name=\"m\"/>b</say-as>", nullptr},
        {"<say-as interpret-as=\"date\">1/2</say-as>", nullptr},
    };
    for (const auto& [ssml, expected] : cases)
        EXPECT_EQ(ssmlForEspeak(SourceMappedText(ssml)).text(), expected ? expected : ssml);
    const auto escaped = plainTextAsSsml(SourceMappedText("a<b & c"));  // plain text becomes SSML
    ASSERT_EQ(escaped.text(), "<speak>a&lt;b &amp; c</speak>");
    expectOrigins(escaped, {{7, 8, 0, 1}, {8, 12, 1, 2}, {12, 13, 2, 3}});
    expectOrigins(escaped, {{14, 19, 4, 5}, {20, 21, 6, 7}, {21, 29, 7, 7}});
}

// A phrase's SSML, the break before it and whether it continues the sentence.
using Phrase = std::tuple<std::string, std::optional<double>, bool>;
Phrase cut(const char* ssml, std::optional<double> breakBefore = {}, bool continues = false) {
    return {ssml, breakBefore, continues};
}

TEST(SsmlPhrasesTest, CutsAtSentencesParagraphsAndBreaksAndReopensWhatIsOpen) {
    const std::tuple<const char*, const char*, std::vector<Phrase>, std::optional<double>> cases[] = {
        // clang-format off
        {"sentences", "<speak><s>A</s><s xml:lang=\"fr\">B</s></speak>", {cut("<speak>A</speak>"), cut("<speak><s xml:lang=\"fr\">B</s></speak>")}, {}},
        {"breaks inside an element", "<speak><prosody rate=\"50%\">A<break time=\"1.5s\"/>B<break/>C</prosody></speak>", {cut("<speak><prosody rate=\"50%\">A</prosody></speak>"), cut("<speak><prosody rate=\"50%\">B</prosody></speak>", 1.5, true), cut("<speak><prosody rate=\"50%\">C</prosody></speak>", 0.21, true)}, {}},
        {"times and strengths add up", "<speak>A<break time=\" 250ms \"/><break strength=\"x-strong\"/><break time=\"2x\" strength=\"weak\"/>B</speak>", {cut("<speak>A</speak>"), cut("<speak>B</speak>", 0.25 + 0.8 + 0.14, true)}, {}},
        {"strength none cuts nothing", "<speak>A<break strength=\"none\"/>B</speak>", {cut("<speak>AB</speak>")}, {}},
        {"stretches without text make no phrase but keep their marks", "<speak><s>A</s> <s><mark name=\"m\"/><break time=\"0.0ms\"/></s><s>B</s><mark name=\"n\"/><break time=\"1s\"/></speak>", {cut("<speak>A</speak>"), cut("<speak><mark name=\"m\"/>B<mark name=\"n\"/></speak>", 0.0)}, 1.0},
        {"a leading break and comments", "<?xml version=\"1.0\"?><speak><!-- x --><break time=\"1s\"/>A</speak>", {cut("<speak>A</speak>", 1.0)}, {}},
        {"unclosed markup is text", "<speak><s>Hello <break", {cut("<speak>Hello <break</speak>")}, {}},
        {"stray end tags", "<p>Hello</p></speak></speak>", {cut("Hello")}, {}},
        // clang-format on
    };
    for (const auto& [name, ssml, expected, breakAfter] : cases) {
        const SsmlPhrases result = splitIntoPhrases(SourceMappedText(ssml));
        std::vector<Phrase> phrases;
        for (const auto& made : result.phrases)
            phrases.emplace_back(made.ssml.text(), made.breakBefore, made.continuesSentence);
        EXPECT_EQ(std::tie(phrases, result.breakAfter), std::tie(expected, breakAfter)) << name;
    }
    // Every byte of a phrase maps back to the utterance; the end tag that closes "Hi" to none.
    const SsmlPhrases split = splitIntoPhrases(SourceMappedText("<speak>Hi<break/>you</speak>"));
    ASSERT_EQ(split.phrases.size(), 2u);
    expectOrigins(split.phrases[0].ssml, {{9, 17, 9, 9}});
    expectOrigins(split.phrases[1].ssml, {{0, 7, 0, 7}, {7, 10, 17, 20}, {10, 18, 20, 28}});
}

// Takes the provider's confinement, which cannot be undone, and exits with 0 if every check held.
[[noreturn]] void confineAndCheck() {
    confineProcess();
    const std::string status = test::readFile("/proc/self/status");
    for (const std::string set : {"CapInh", "CapPrm", "CapEff", "CapBnd", "CapAmb"})
        EXPECT_NE(status.find(set + ":\t0000000000000000\n"), std::string::npos) << set;
    EXPECT_NE(status.find("NoNewPrivs:\t1\n"), std::string::npos);
    for (const int family : {AF_INET, AF_INET6}) {
        errno = 0;
        EXPECT_EQ(::socket(family, SOCK_STREAM, 0), -1) << family;
        EXPECT_EQ(errno, EACCES) << family;
    }
    EXPECT_GE(::socket(AF_UNIX, SOCK_STREAM, 0), 0)
        << "local sockets, which the session bus needs, are refused";
    std::exit(::testing::Test::HasFailure() ? 1 : 0);
}

TEST(ConfinementTest, DropsCapabilitiesForbidsNewPrivilegesAndRefusesInternetSockets) {
    EXPECT_EXIT(confineAndCheck(), ::testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace velmora::provider
