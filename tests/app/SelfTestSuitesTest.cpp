#include <gtest/gtest.h>

#include "app/SelfTestSuites.h"

namespace velmora {
namespace {

TEST(SelfTestSuitesTest, RunsTheFlaggedSuitesSpeechFirstEachOnce) {
    const struct {
        std::vector<std::string> arguments;
        std::string ran;
        bool wanted;
    } cases[] = {
        {{"velmora"}, "", false},
        {{"velmora", "-selftest"}, "speech ", true},
        {{"velmora", "-selftest-enhanced", "-enhanced-remove"}, "enhanced(3) ", true},
        {{"velmora", "-selftest-enhanced", "-platform", "offscreen", "-selftest"},
         "speech enhanced(5) ",
         true},
        {{"velmora", "-selftest", "-selftest"}, "speech ", true},
        {{"velmora", "-enhanced-remove-all", "-enhanced-voice", "ios6/en-US"}, "", false},
        {{"velmora", "-SELFTEST", "--selftest", "-selftest=1"}, "", false},
    };
    for (const auto& c : cases) {
        std::string ran;
        const SelfTestSuites suites{[&ran] { ran += "speech "; },
                                    [&ran](const std::vector<std::string>& arguments) {
                                        ran += "enhanced(" + std::to_string(arguments.size()) + ") ";
                                    }};
        EXPECT_EQ(runSelfTests(suites, c.arguments), c.wanted) << c.arguments.back();
        EXPECT_EQ(ran, c.ran) << c.arguments.back();
    }
}

}  // namespace
}  // namespace velmora
