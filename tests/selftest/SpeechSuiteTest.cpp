// The speech self test against a fake engine whose durations, peaks and latencies are chosen per
// text: every line, the boundaries of every verdict, and the runs that end early.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>

#include "samples/Samples.h"
#include "selftest/FakeServices.h"
#include "selftest/SelfTest.h"
#include "support/Files.h"

namespace velmora::test {
namespace {

const std::string samantha4 = "com.tarvenholt.Velmora.voice.ios4.en-US.Samantha";
const std::string samantha7 = "com.tarvenholt.Velmora.voice.ios7.en-US.Samantha";
const std::string thomas5 = "com.tarvenholt.Velmora.voice.ios5.fr-FR.Thomas";
const std::string sweep = "The quick brown fox jumps over the lazy dog.";

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// An engine under which every check passes; SSML is told apart by a piece of each case.
RenderResult passingEngine(const RenderRequest& r) {
    if (r.ssml) {
        const std::pair<const char*, double> ssml[] = {{"VAL", 2.1},         {"General", 2.05},
                                                       {"<s>Airplane", 3.3}, {"<s>Settings", 1.5},
                                                       {"Mode<break", 3.0},  {"1.5s", 2.22}};
        for (const auto& [piece, seconds] : ssml)
            if (contains(r.text, piece)) return {seconds, 0.5f, 0.125, 1};
    }
    if (r.text == "Settings") return {0.5, 0.0f, -1.0, 0};
    if (r.text == sweep && !r.dumpTo) return {3.0 - 2 * r.rate, 0.5f, 0.125, 1};
    if (r.voice == thomas5) return {2.5, 0.25f, 0.125, 1};
    return {1.0, 0.5f, 0.125, 1};
}

TEST(SpeechSuiteTest, EveryLineOfARunWhoseVoicesAppearAtTheThirdLook) {
    FakeServices fake{
        passingEngine,
        {voice(samantha7, "Samantha (iOS 7)", "en-US"), voice("org.example.voice.Alex", "Alex", "en_us"),
         voice(samantha4, "Samantha (iOS 4)", "en-US"), voice(thomas5, "Thomas (iOS 5)", "fr-FR")},
        3};
    SelfTest::run(fake.services());

    EXPECT_EQ(joinLines(fake.lines), readFile(expectedOutput("selftest", "speech-suite.txt")));
    EXPECT_EQ(fake.pauses, (std::vector<double>{0.5, 0.5}));
    EXPECT_EQ(fake.synthesizers, 1);

    // Every render at the default rate and pitch 1, but the sweep; only the two dumps are written.
    std::vector<std::tuple<std::string, std::string, std::filesystem::path>> dumps;
    for (const auto& r : fake.requests) {
        EXPECT_EQ(r.pitch, 1.0f) << r.text;
        if (r.text != sweep || r.dumpTo) {
            EXPECT_EQ(r.rate, 0.5f) << r.text;
        }
        if (r.dumpTo) dumps.emplace_back(r.voice, r.text, *r.dumpTo);
    }
    const std::string greeting =
        "Hello! This is Samantha, from iOS four. VoiceOver on, twelve new messages from Doctor Smith.";
    EXPECT_EQ(dumps, (decltype(dumps){{samantha4, greeting, "/fake/tmp/selftest-samantha.caf"},
                                      {samantha7, sweep, "/fake/tmp/selftest-samantha-ios7.caf"}}));
    EXPECT_EQ(fake.requests[1].text, Samples::textFor("en-US"));  // each language speaks its sample
    EXPECT_EQ(fake.requests[2].text, Samples::textFor("fr-FR"));
}

TEST(SpeechSuiteTest, VerdictsAtTheirBoundaries) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double above = std::nextafter(0.3, 1.0);
    const float louder = std::nextafter(0.05f, 1.0f);
    using Answers = std::map<std::string, RenderResult>;  // by plain text, or by a piece of an SSML text
    struct Case {
        const char* name;
        Answers answers;
        std::string line;
    };
    const std::string en(Samples::textFor("en-US"));
    const std::string per = "SELFTEST PASS en-US Samantha (iOS 4): ",
                      fer = "SELFTEST FAIL en-US Samantha (iOS 4): ";
    const std::string twoParts = " General | Button: 1.23s, parts spoken separately 1.25s";
    const std::string threeParts =
        " Airplane Mode | Switch button | off: 3.32s, parts spoken separately 3.00s";
    const std::string expectedBreak = ", expected 1.00s + 1.22s = 2.22s";
    const std::string rules = " \"Mac OS X\" 0.500s == \"Mac OS ten \" ";
    const auto two = [](double whole) {
        return Answers{{"General", {0.75}}, {"Button", {0.5}}, {"<s>General", {whole}}};
    };
    const auto macOs = [](double ten) { return Answers{{"Mac OS X", {0.5}}, {"Mac OS ten ", {ten}}}; };
    // clang-format off
    const Case cases[] = {
        {"0.3 s is too short", {{en, {0.3, 0.9f}}}, fer + "0.30s audio, peak 0.90"},
        {"a peak of 0.05 is too quiet", {{en, {0.9, 0.05f}}}, fer + "0.90s audio, peak 0.05"},
        {"just above both passes", {{en, {above, louder}}}, per + "0.30s audio, peak 0.05"},
        {"NaN seconds fail", {{en, {nan, 0.9f}}}, fer + "nans audio, peak 0.90"},
        {"parts at sum - 0.02 pass", two(1.25 - 0.02), "SELFTEST parts PASS" + twoParts},
        {"parts just under sum - 0.02 fail", two(std::nextafter(1.25 - 0.02, 0.0)), "SELFTEST parts FAIL" + twoParts},
        {"three parts up to sum + 0.32 pass", {{"<s>Airplane", {3.32 - 1e-9}}}, "SELFTEST parts PASS" + threeParts},
        {"three parts beyond sum + 0.32 fail", {{"<s>Airplane", {3.32 + 1e-9}}}, "SELFTEST parts FAIL" + threeParts},
        {"voice elements 0.03 s apart fail", {{"<voice", {1.03}}},
         "SELFTEST voices FAIL <voice> parts: 1.03s, reference \"Log Out Halden ellipsis Command Shift q\" 1.00s"},
        {"a break adding exactly 1.22 s passes", {{"1.5s", {1.0 + 1.22}}}, "SELFTEST breaks PASS 1.5s break: 2.22s" + expectedBreak},
        {"a break adding the full 1.5 s fails", {{"1.5s", {2.5}}}, "SELFTEST breaks FAIL 1.5s break: 2.50s" + expectedBreak},
        {"rules 0.0015 s apart pass", macOs(0.5015), "SELFTEST rules PASS" + rules + "0.501s"},
        {"rules 0.002 s apart fail", macOs(0.502), "SELFTEST rules FAIL" + rules + "0.502s"},
    };
    // clang-format on
    for (const auto& c : cases) {
        FakeServices fake{[&c](const RenderRequest& r) {
                              for (const auto& [key, answer] : c.answers) {
                                  if (r.ssml ? contains(r.text, key) : r.text == key) return answer;
                              }
                              return passingEngine(r);
                          },
                          {voice(samantha4, "Samantha (iOS 4)", "en-US")}};
        SelfTest::run(fake.services());
        EXPECT_EQ(std::count(fake.lines.begin(), fake.lines.end(), c.line), 1)
            << c.name << "; lines:\n"
            << ::testing::PrintToString(fake.lines);
    }
}

TEST(SpeechSuiteTest, WithoutTheReferenceVoiceTheRunEndsAtTheSummary) {
    // No voices at all: twenty looks, each followed by its pause. The only en-US voice besides is
    // the extension's own, so there is no control line.
    FakeServices none{passingEngine, {voice("com.tarvenholt.Velmora.other.en-US", "Other", "en-US")}};
    SelfTest::run(none.services());
    EXPECT_EQ(none.lines, (std::vector<std::string>{
                              "SELFTEST voices: 0", "SELFTEST release iPhone OS 3: 0 voices",
                              "SELFTEST release iOS 4: 0 voices", "SELFTEST release iOS 5: 0 voices",
                              "SELFTEST release iOS 6: 0 voices", "SELFTEST release iOS 7: 0 voices",
                              "SELFTEST done: 0/0 passed"}));
    EXPECT_EQ(none.pauses, std::vector<double>(20, 0.5));

    // Voices of the extension, none of them the iOS 4 Samantha; a failing one is counted.
    FakeServices other{
        [](const RenderRequest& r) { return r.voice == samantha7 ? RenderResult{} : passingEngine(r); },
        {voice(samantha7, "Samantha (iOS 7)", "en-US"), voice(thomas5, "Thomas (iOS 5)", "fr-FR")}};
    SelfTest::run(other.services());
    ASSERT_GE(other.lines.size(), 3u);
    EXPECT_EQ(std::vector(other.lines.end() - 3, other.lines.end()),
              (std::vector<std::string>{"SELFTEST PASS fr-FR Thomas (iOS 5): 2.50s audio, peak 0.25",
                                        "SELFTEST FAIL en-US Samantha (iOS 7): 0.00s audio, peak 0.00",
                                        "SELFTEST done: 1/2 passed"}));
}

}  // namespace
}  // namespace velmora::test
