#include <gtest/gtest.h>

#include <cstdlib>

#include "StoreFixture.h"
#include "store/AppGroupContainers.h"
#include "store/Bundle.h"
#include "store/Entitlements.h"

namespace velmora {
namespace {
namespace fs = std::filesystem;
using test::TempDir;
using test::writeFile;

std::string entitlementsWith(const std::string& value) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
           "<key>com.apple.security.application-groups</key>" +
           value + "</dict></plist>";
}

TEST(EntitlementsTest, OnlyAListOfStringsGrantsGroups) {
    struct Case {
        const char* name;
        std::string contents;
        std::vector<std::string> expected;
    };
    const std::string otherKey =
        "<plist version=\"1.0\"><dict><key>x</key><array><string>G</string></array></dict></plist>";
    const std::vector<Case> cases{
        // clang-format off
        {"list", entitlementsWith("<array><string>G1</string><string>G2</string></array>"), {"G1", "G2"}},
        {"empty list", entitlementsWith("<array/>"), {}},
        {"a string", entitlementsWith("<string>G1</string>"), {}},
        {"a list with a number", entitlementsWith("<array><string>G1</string><integer>2</integer></array>"), {}},
        {"other key", otherKey, {}},
        {"root is a list", "<plist version=\"1.0\"><array><string>G</string></array></plist>", {}},
        {"damaged", entitlementsWith("<array><string>G1</string>"), {}},
        {"not a property list", "hello", {}},
        {"empty file", "", {}},
        // clang-format on
    };
    TempDir dir;
    for (const auto& c : cases) {
        writeFile(dir / "e.plist", c.contents);
        EXPECT_EQ(Entitlements::applicationGroups(dir / "e.plist"), c.expected) << c.name;
    }
    EXPECT_TRUE(Entitlements::applicationGroups(dir / "missing.plist").empty());
}

TEST(EntitlementsTest, EnvironmentChoosesTheFileAndIsReadAfreshEachTime) {
    EXPECT_EQ(VoiceStore::entitledGroups(), std::vector<std::string>{"group.test.velmora"});
    TempDir dir;
    writeFile(dir / "other.plist", entitlementsWith("<array><string>X</string></array>"));
    const std::string saved = std::getenv("VELMORA_ENTITLEMENTS");
    ::setenv("VELMORA_ENTITLEMENTS", (dir / "other.plist").c_str(), 1);
    EXPECT_EQ(Entitlements::file(), dir / "other.plist");
    EXPECT_EQ(VoiceStore::entitledGroups(), std::vector<std::string>{"X"});
    ::setenv("VELMORA_ENTITLEMENTS", saved.c_str(), 1);
}

// Resolves like the store does, but against a root of the test's own.
std::optional<VoiceStore::Group> resolve(const fs::path& root, const std::vector<std::string>& entitled) {
    const auto& identifiers = entitled.empty() ? VoiceStore::fallbackGroupIdentifiers : entitled;
    return VoiceStore::resolveGroup(identifiers, [&](const std::string& id) {
        return AppGroupContainers::folder(root, id, !entitled.empty());
    });
}

TEST(ContainerResolutionTest, EntitledGroupsAreCreatedInOrderAndTheFirstThatWorksWins) {
    TempDir root;
    auto group = resolve(root.path(), {"G1", "G2"});
    ASSERT_TRUE(group);
    EXPECT_EQ(group->id, "G1");
    EXPECT_TRUE(fs::is_directory(root / "G1"));
    EXPECT_FALSE(fs::exists(root / "G2"));

    // A file where G1's folder would go: the system has no folder for G1, only for G2.
    TempDir blocked;
    writeFile(blocked / "G1", "not a folder");
    group = resolve(blocked.path(), {"G1", "G2"});
    ASSERT_TRUE(group);
    EXPECT_EQ(group->id, "G2");
    EXPECT_EQ(group->url, blocked / "G2");
}

TEST(ContainerResolutionTest, FallbackIdentifiersAreFoundOnlyWhenTheirFolderExists) {
    TempDir root;
    EXPECT_FALSE(resolve(root.path(), {}));
    EXPECT_TRUE(fs::is_empty(root.path())) << "a fallback identifier never creates a folder";

    fs::create_directories(root / "group.com.tarvenholt.Velmora");
    auto group = resolve(root.path(), {});
    ASSERT_TRUE(group);
    EXPECT_EQ(group->id, "group.com.tarvenholt.Velmora");

    fs::create_directories(root / "R8TD3KQ2VX.group.com.tarvenholt.Velmora");
    EXPECT_EQ(resolve(root.path(), {})->id, "R8TD3KQ2VX.group.com.tarvenholt.Velmora");
}

TEST(ContainerResolutionTest, IdentifiersThatAreNotPlainNamesHaveNoFolder) {
    TempDir root;
    for (const char* id : {"", ".", "..", "../escape", "a/b", "/abs"}) {
        EXPECT_FALSE(AppGroupContainers::folder(root.path(), id, true)) << id;
    }
    EXPECT_FALSE(fs::exists(root.path().parent_path() / "escape"));
}

TEST(ContainerResolutionTest, RootComesFromTheEnvironmentElseXdgDataHome) {
    const std::string saved = std::getenv("VELMORA_APP_GROUPS_ROOT");
    ::unsetenv("VELMORA_APP_GROUPS_ROOT");
    ::setenv("XDG_DATA_HOME", "/data/home", 1);
    EXPECT_EQ(AppGroupContainers::root(), "/data/home/app-groups");
    ::unsetenv("XDG_DATA_HOME");
    ::setenv("HOME", "/home/someone", 1);
    EXPECT_EQ(AppGroupContainers::root(), "/home/someone/.local/share/app-groups");
    ::setenv("VELMORA_APP_GROUPS_ROOT", saved.c_str(), 1);
    EXPECT_EQ(AppGroupContainers::root(), saved);
}

TEST(ContainerStoreTest, TheProcessContainerIsReadyAndVoicesIsCreatedOnlyOnRequest) {
    EXPECT_EQ(VoiceStore::groupIdentifiers(), std::vector<std::string>{"group.test.velmora"});
    EXPECT_EQ(VoiceStore::containerStatus(),
              ContainerStatus(ContainerStatus::Ready{test::StoreWorld::container()}));
    fs::remove_all(test::StoreWorld::voices());
    EXPECT_EQ(VoiceStore::root(false), test::StoreWorld::voices());
    EXPECT_FALSE(fs::exists(test::StoreWorld::voices()));
    EXPECT_EQ(VoiceStore::root(true), test::StoreWorld::voices());
    EXPECT_TRUE(fs::is_directory(test::StoreWorld::voices()));
    fs::remove_all(test::StoreWorld::voices());
}

TEST(BundleTest, ResourcesComeFromTheFirstPlugInElseTheApplication) {
    TempDir app;
    auto application = *Bundle::open(app.path());
    EXPECT_EQ(Bundle::chooseResourcesBundle(application).folder(), app.path()) << "no PlugIns folder";

    fs::create_directories(app / "PlugIns/Readme.txt");
    EXPECT_EQ(Bundle::chooseResourcesBundle(application).folder(), app.path()) << "no .appex entry";

    writeFile(app / "PlugIns/A.appex", "a file cannot be opened as a bundle");
    EXPECT_EQ(Bundle::chooseResourcesBundle(application).folder(), app.path()) << "first .appex unusable";

    fs::remove(app / "PlugIns/A.appex");
    fs::create_directories(app / "PlugIns/B.appex/Resources");
    auto chosen = Bundle::chooseResourcesBundle(application);
    EXPECT_EQ(chosen.folder(), app / "PlugIns/B.appex");
    EXPECT_EQ(chosen.resourceFolder(), app / "PlugIns/B.appex/Resources");
    EXPECT_EQ(application.resourceFolder(), std::nullopt);
}

TEST(BundleTest, MainBundleIsTheFolderOfTheRunningExecutable) {
    EXPECT_TRUE(fs::exists(Bundle::main().folder() / "store_test"));
    EXPECT_FALSE(Bundle::open(Bundle::main().folder() / "store_test")) << "a file is not a bundle";
}

}  // namespace
}  // namespace velmora
