// velmora-cli selftest against the reference provider on a private session bus.
#include <gtest/gtest.h>
#include <sndfile.h>

#include <algorithm>
#include <regex>

#include "selftest/BusWorld.h"
#include "selftest/SuiteLines.h"
#include "support/Process.h"

namespace velmora::test {
namespace {

// The frames of a Core Audio Format file of 32-bit floats; 0 when it is not one.
sf_count_t cafFrames(const std::filesystem::path& file) {
    SF_INFO info{};
    SNDFILE* handle = sf_open(file.c_str(), SFM_READ, &info);
    if (handle == nullptr) return 0;
    sf_close(handle);
    return info.format == (SF_FORMAT_CAF | SF_FORMAT_FLOAT) ? info.frames : 0;
}

TEST(SelfTestCommandTest, EveryLinePassesOnTheReferenceProviderAndBothDumpsAreWritten) {
    const auto run = runProcess(VELMORA_CLI, {"selftest"});
    std::cout << run.out;  // the run's own report, for whoever reads the test log
    EXPECT_EQ(run.exitStatus, 0) << run.err;
    const auto printed = lines(run.out);
    for (const auto& line : printed) {
        EXPECT_TRUE(line.starts_with("SELFTEST ")) << line;
        EXPECT_FALSE(saysFail(line)) << line;
    }
    std::smatch count;
    ASSERT_GE(printed.size(), 3u);
    ASSERT_TRUE(std::regex_match(printed.front(), count, std::regex("SELFTEST voices: (\\d+)")));
    EXPECT_GE(std::stoi(count[1]), 50);
    EXPECT_EQ(
        std::ranges::count(printed, "SELFTEST done: " + count[1].str() + "/" + count[1].str() + " passed"),
        1);

    const auto tmp = TestWorld::folder() / "tmp";
    EXPECT_EQ(std::vector(printed.end() - 2, printed.end()),
              (std::vector<std::string>{"SELFTEST dumped " + (tmp / "selftest-samantha.caf").string(),
                                        "SELFTEST dumped " + (tmp / "selftest-samantha-ios7.caf").string()}));
    EXPECT_GT(cafFrames(tmp / "selftest-samantha.caf"), 22050);
    EXPECT_GT(cafFrames(tmp / "selftest-samantha-ios7.caf"), 22050);
}

}  // namespace
}  // namespace velmora::test
