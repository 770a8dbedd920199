#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "CliBundle.h"

namespace velmora::test {
namespace {
namespace fs = std::filesystem;

// One command: its exit status, the start of standard output and a piece of standard error.
struct Step {
    std::vector<std::string> arguments;
    int status;
    std::string out, err;
};

// One bundle, one command after another.
TEST(StoreCommandsTest, CommandsInTurnOnOneContainer) {
    CliBundle cli;
    const std::string status =
        "status: ready\ngroup: group.cli.test\ncontainer: " + (cli.containers() / "group.cli.test").string() +
        "\nvoices: " + cli.voices().string();
    const Step before[] = {{{"status"}, 0, status + "\n", ""},
                           {{"packs"}, 0, "No voice packs installed.\n", ""}};
    const std::string notAVoice = "is not a voice";
    const std::string three =
        "ios5/de-DE\tAnna\t1 KB\nios5/en-US\tSamantha\t1 KB\nios6/en-US\tSamantha\t12.3 MB\n";
    const Step after[] = {
        // clang-format off
        {{"packs"}, 0, three, ""},
        {{"dictionaries"}, 0, "Added 2 dictionary files.\n", ""},  // the compact data's, for ios5/en-US
        {{"dictionaries"}, 0, "Added 0 dictionary files.\n", ""},
        {{"remove", "ios6/en-US"}, 0, "", ""},
        {{"remove", "ios6/en-US"}, 1, "", "No such file or directory"},
        {{"remove", "ios6/../../.."}, 1, "", notAVoice},
        {{"remove", "ios9/en-US"}, 1, "", notAVoice},
        {{"remove", "en-US"}, 1, "", notAVoice},
        {{"packs"}, 0, "ios5/de-DE\tAnna\t1 KB\nios5/en-US\tSamantha\t1 KB\n", ""},
        {{"remove-all"}, 0, "", ""},
        {{"remove-all"}, 0, "", ""},
        {{}, 1, "", ""},
        {{"frobnicate"}, 1, "", ""},
        {{"remove"}, 1, "", ""},
        {{"--help"}, 0, "", ""},
        // clang-format on
    };
    const auto run = [&cli](const Step& step) {
        const ProcessResult result = cli.run(step.arguments);
        const std::string shown = step.arguments.empty() ? "(none)" : step.arguments.back();
        EXPECT_EQ(result.exitStatus, step.status) << shown << ": " << result.err;
        EXPECT_TRUE(result.out.starts_with(step.out)) << shown << ": " << result.out;
        EXPECT_NE(result.err.find(step.err), std::string::npos) << shown << ": " << result.err;
    };
    for (const auto& step : before) run(step);
    writeFile(cli.voices().parent_path() / "other.txt", "not the store's");
    cli.installPack("ios6/en-US", "Samantha", 12'300'000);
    cli.installPack("ios5/de-DE", "Anna", 1000);
    cli.installPack("ios5/en-US", "Samantha", 1000);
    auto json = nlohmann::json::parse(cli.run({"packs", "--json"}).out);
    EXPECT_EQ(json.at(2)["label"], "iOS 6");
    EXPECT_EQ(json.at(2)["directory"], (cli.voices() / "ios6/en-US").string());
    EXPECT_GT(json.at(2)["sizeInBytes"].get<std::int64_t>(), 12'300'000);
    for (const auto& step : after) run(step);
    EXPECT_FALSE(fs::exists(cli.voices()));
    EXPECT_TRUE(fs::exists(cli.voices().parent_path() / "other.txt")) << "remove-all took the container";
}

TEST(StoreCommandsTest, StatusExplainsAMissingEntitlement) {
    CliBundle cli;
    fs::remove(cli.folder() / "Resources/velmora.entitlements");
    auto result = cli.run({"status"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_TRUE(
        result.out.starts_with("status: notEntitled\nThis copy of the app was signed without the App Group"))
        << result.out;
}

}  // namespace
}  // namespace velmora::test
