#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "CliBundle.h"

namespace velmora::test {
namespace {
namespace fs = std::filesystem;

TEST(StoreCommandsTest, StatusIsReadyWithTheContainerOfTheEntitledGroup) {
    CliBundle cli;
    auto result = cli.run({"status"});
    EXPECT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(result.out, "status: ready\ngroup: group.cli.test\ncontainer: " +
                              (cli.containers() / "group.cli.test").string() +
                              "\nvoices: " + cli.voices().string() + "\n");
    EXPECT_TRUE(fs::is_directory(cli.containers() / "group.cli.test"));
}

TEST(StoreCommandsTest, StatusExplainsAMissingEntitlement) {
    CliBundle cli;
    fs::remove(cli.folder() / "Resources/velmora.entitlements");
    auto result = cli.run({"status"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_TRUE(
        result.out.starts_with("status: notEntitled\nThis copy of the app was signed without the App "
                               "Group entitlement"))
        << result.out;
}

TEST(StoreCommandsTest, PacksListsReleaseLocaleNameAndSize) {
    CliBundle cli;
    EXPECT_EQ(cli.run({"packs"}).out, "No voice packs installed.\n");
    cli.installPack("ios6/en-US", "Samantha", 12'300'000);
    cli.installPack("ios5/de-DE", "Anna", 1000);

    auto result = cli.run({"packs"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.out, "ios5/de-DE\tAnna\t1 KB\nios6/en-US\tSamantha\t12.3 MB\n");

    auto json = nlohmann::json::parse(cli.run({"packs", "--json"}).out);
    ASSERT_EQ(json.size(), 2u);
    EXPECT_EQ(json[1]["release"], "ios6");
    EXPECT_EQ(json[1]["label"], "iOS 6");
    EXPECT_EQ(json[1]["locale"], "en-US");
    EXPECT_EQ(json[1]["name"], "Samantha");
    EXPECT_GT(json[1]["sizeInBytes"].get<std::int64_t>(), 12'300'000);
    EXPECT_EQ(json[1]["directory"], (cli.voices() / "ios6/en-US").string());
}

TEST(StoreCommandsTest, RemoveTakesOnePackAndRefusesWhatIsNotThere) {
    CliBundle cli;
    cli.installPack("ios6/en-US", "Samantha", 10);
    cli.installPack("ios6/fr-FR", "Thomas", 10);

    auto result = cli.run({"remove", "ios6/en-US"});
    EXPECT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_FALSE(fs::exists(cli.voices() / "ios6/en-US"));
    EXPECT_TRUE(fs::exists(cli.voices() / "ios6/fr-FR"));

    result = cli.run({"remove", "ios6/en-US"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_NE(result.err.find("No such file or directory"), std::string::npos) << result.err;

    for (const char* bad : {"ios6/../../..", "ios9/en-US", "en-US"}) {
        result = cli.run({"remove", bad});
        EXPECT_EQ(result.exitStatus, 1) << bad;
        EXPECT_NE(result.err.find("is not a voice"), std::string::npos) << result.err;
    }
    EXPECT_TRUE(fs::exists(cli.voices() / "ios6/fr-FR"));
}

TEST(StoreCommandsTest, RemoveAllEmptiesTheVoiceRoot) {
    CliBundle cli;
    cli.installPack("ios6/en-US", "Samantha", 10);
    EXPECT_EQ(cli.run({"remove-all"}).exitStatus, 0);
    EXPECT_FALSE(fs::exists(cli.voices()));
    EXPECT_EQ(cli.run({"remove-all"}).exitStatus, 0);
}

TEST(StoreCommandsTest, DictionariesCopiesWhatPacksLackOnce) {
    CliBundle cli;
    cli.installPack("ios5/en-US", "Samantha", 10);
    auto result = cli.run({"dictionaries"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.out, "Added 2 dictionary files.\n");
    EXPECT_EQ(readFile(cli.voices() / "ios5/en-US/en_userdct.dat"), "dictionary");
    EXPECT_EQ(cli.run({"dictionaries"}).out, "Added 0 dictionary files.\n");
}

TEST(StoreCommandsTest, UnknownCommandsAndMissingArgumentsFail) {
    CliBundle cli;
    EXPECT_EQ(cli.run({}).exitStatus, 1);
    EXPECT_EQ(cli.run({"frobnicate"}).exitStatus, 1);
    EXPECT_EQ(cli.run({"remove"}).exitStatus, 1);
    EXPECT_EQ(cli.run({"--help"}).exitStatus, 0);
}

}  // namespace
}  // namespace velmora::test
