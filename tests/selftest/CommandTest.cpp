// velmora-cli's self tests against the reference provider on a private session bus; the enhanced
// one with a catalog on loopback whose archives hold an iOS 5 and an iOS 7 voice of its compact data.
#include <gtest/gtest.h>
#include <signal.h>
#include <sndfile.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <sstream>

#include "selftest/SuiteLines.h"
#include "store/ContainerStatus.h"
#include "support/Files.h"
#include "support/Process.h"
#include "support/ServedCatalog.h"

namespace velmora::test {
namespace {
namespace fs = std::filesystem;

// Runs velmora-cli with `arguments`, which must exit 0 with no line saying FAIL; its lines.
std::vector<std::string> passingRun(const std::vector<std::string>& arguments) {
    const auto result = runProcess(VELMORA_CLI, arguments);
    std::cout << result.out;  // the run's own report, for whoever reads the test log
    EXPECT_EQ(result.exitStatus, 0) << result.err;
    std::vector<std::string> printed;
    std::istringstream stream(result.out);
    for (std::string line; std::getline(stream, line);) {
        EXPECT_FALSE(saysFail(line)) << line;
        printed.push_back(line);
    }
    return printed;
}

// The frames of a Core Audio Format file of 32-bit floats; 0 when it is not one.
sf_count_t cafFrames(const fs::path& file) {
    SF_INFO info{};
    SNDFILE* handle = sf_open(file.c_str(), SFM_READ, &info);
    if (handle != nullptr) sf_close(handle);
    return handle != nullptr && info.format == (SF_FORMAT_CAF | SF_FORMAT_FLOAT) ? info.frames : 0;
}

TEST(SelfTestCommandTest, EveryLinePassesOnTheReferenceProviderAndBothDumpsAreWritten) {
    const auto printed = passingRun({"selftest"});
    for (const auto& line : printed) EXPECT_TRUE(line.starts_with("SELFTEST ")) << line;
    ASSERT_FALSE(printed.empty());
    const std::string voices = printed[0].substr(std::strlen("SELFTEST voices: "));
    EXPECT_GE(std::stoi(voices), 50);
    EXPECT_EQ(std::ranges::count(printed, "SELFTEST done: " + voices + "/" + voices + " passed"), 1);
    for (const char* name : {"selftest-samantha.caf", "selftest-samantha-ios7.caf"}) {
        const auto dump = TestWorld::folder() / "tmp" / name;
        EXPECT_EQ(std::ranges::count(printed, "SELFTEST dumped " + dump.string()), 1);
        EXPECT_GT(cafFrames(dump), 22050) << dump;
    }
}

class EnhancedCommandTest : public ::testing::Test {
protected:
    EnhancedCommandTest() {
        std::vector<std::string> assets;
        for (const std::string release : {"ios5", "ios7"}) {
            const std::string archive =
                makeZip({"Voice/broker.hdr.asset", brokerHeader("Samantha"), "Voice/voice.dat",
                         release + " enhanced voice data " + std::string(100'000, 'e')});
            writeFile(files_ / (release + ".zip"), archive);
            assets.push_back(servedAsset(release == "ios5" ? "3" : "5", "en-US", server_.url("/"),
                                         release + ".zip", archive));
        }
        writeFile(files_ / "catalog.xml", catalogXml(assets));
        ::setenv("VELMORA_CATALOG_URL", server_.url("/catalog.xml").c_str(), 1);
    }
    ~EnhancedCommandTest() override { fs::remove_all(TestWorld::folder() / "app-groups"); }

    // The container's voice folder, as the run's first line names it.
    static fs::path voicesOf(const std::vector<std::string>& printed) {
        return fs::path(printed.at(0).substr(std::strlen("ENHANCED container "))) / "Voices";
    }

    TempDir files_;
    LoopbackServer server_{[this](httplib::Server& s) { s.set_mount_point("/", files_.path()); }};
};

TEST_F(EnhancedCommandTest, TheWholeSuitePassesForAnIos5AndAnIos7VoiceAndBothRemovalsWork) {
    for (const std::string voice : {"ios5/en-US", "ios7/en-US"}) {
        const auto printed = passingRun({"selftest", "--enhanced", "--voice", voice});
        ASSERT_EQ(printed.size(), 12u) << voice;
        EXPECT_EQ(permissions(voicesOf(printed) / voice / "broker.hdr"), 0644u) << voice;
    }
    const auto removed = passingRun({"selftest", "--enhanced", "--voice", "ios5/en-US", "--remove"});
    EXPECT_EQ(removed.back(), "ENHANCED PASS removed ios5/en-US; the voice is back to its compact data");
    EXPECT_EQ(passingRun({"selftest", "--enhanced", "--remove-all"}).back(),
              "ENHANCED PASS delete all: removed 1 packs, none left");
}

TEST_F(EnhancedCommandTest, WithoutAContainerTheRunIsOneFailLine) {
    writeFile(files_ / "none.entitlements", "<plist version=\"1.0\"><dict></dict></plist>");
    const auto result = runProcess(VELMORA_CLI, {"selftest", "--enhanced"},
                                   {{"VELMORA_ENTITLEMENTS", (files_ / "none.entitlements").string()}});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.out, "ENHANCED FAIL no shared container: " +
                              *ContainerStatus(ContainerStatus::NotEntitled{}).explanation() + "\n");
    EXPECT_EQ(result.err, "velmora-cli: 1 line of the self test says FAIL.\n");
}

// Ctrl-C while the pack is set aside, and while its header is unreadable: the run ends by the
// signal, and the pack is back in place and readable.
TEST_F(EnhancedCommandTest, AnInterruptDuringTheRendersPutsThePackBack) {
    const fs::path pack =
        voicesOf(passingRun({"selftest", "--enhanced", "--voice", "ios7/en-US"})) / "ios7/en-US";
    const std::pair<const char*, std::function<bool(const std::string&)>> moments[] = {
        {"pack set aside", [&](const std::string&) { return fs::exists(pack.string() + ".aside"); }},
        {"header unreadable", [&](const std::string&) { return permissions(pack / "broker.hdr") == 0; }},
    };
    for (const auto& [moment, holds] : moments) {
        // A moment lasts a render, a few milliseconds; on a busy machine it can pass unseen, and
        // the run, ending normally, is tried again.
        int endedBy = 0;
        for (int attempt = 0; attempt < 10 && endedBy != SIGINT; ++attempt) {
            endedBy =
                interruptWhen(holds, VELMORA_CLI, {"selftest", "--enhanced", "--voice", "ios7/en-US"}).signal;
            EXPECT_EQ(permissions(pack / "broker.hdr"), 0644u) << moment;
        }
        EXPECT_EQ(endedBy, SIGINT) << moment;
    }
}

}  // namespace
}  // namespace velmora::test

// Points this process and the bus's activation environment at one world of their own, so that
// the provider the bus starts reads the container that velmora-cli writes.
int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    velmora::test::TestWorld::shareWithBus();
    return RUN_ALL_TESTS();
}
