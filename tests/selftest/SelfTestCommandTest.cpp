// velmora-cli selftest against the reference provider on a private session bus.
#include <gtest/gtest.h>
#include <sndfile.h>

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
    ASSERT_FALSE(printed.empty());
    ASSERT_TRUE(std::regex_match(printed.front(), count, std::regex("SELFTEST voices: (\\d+)")));
    const int voices = std::stoi(count[1]);
    EXPECT_GE(voices, 50);
    // Voices and releases, one line per voice, the summary, then 4 latency, 5 rate, 5 parts,
    // 1 voice elements, 1 breaks, 4 rules and 2 dump lines.
    ASSERT_EQ(printed.size(), static_cast<std::size_t>(6 + voices + 1 + 22));
    EXPECT_EQ(printed[6 + static_cast<std::size_t>(voices)],
              "SELFTEST done: " + std::to_string(voices) + "/" + std::to_string(voices) + " passed");

    const auto tmp = busWorld() / "tmp";
    EXPECT_EQ(std::vector(printed.end() - 2, printed.end()),
              (std::vector<std::string>{"SELFTEST dumped " + (tmp / "selftest-samantha.caf").string(),
                                        "SELFTEST dumped " + (tmp / "selftest-samantha-ios7.caf").string()}));
    EXPECT_GT(cafFrames(tmp / "selftest-samantha.caf"), 22050);
    EXPECT_GT(cafFrames(tmp / "selftest-samantha-ios7.caf"), 22050);
}

}  // namespace
}  // namespace velmora::test
