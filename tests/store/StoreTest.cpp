// The voice store of one process: the container it resolves, the packs in it, the compact data it
// tops them up from, and the text it shows. Runs as a bundle of its own (see main at the end).
#include <gtest/gtest.h>

#include <cstdlib>

#include "store/AppGroupContainers.h"
#include "store/Bundle.h"
#include "store/ByteCount.h"
#include "store/ContainerStatus.h"
#include "store/Entitlements.h"
#include "store/VoiceId.h"
#include "store/VoiceStore.h"
#include "support/Files.h"
#include "support/TestWorld.h"

namespace velmora::test {
namespace {
namespace fs = std::filesystem;

// The process-wide container that main entitles the process to before any test runs.
fs::path container() { return TestWorld::container("group.test.velmora"); }
fs::path voices() { return container() / "Voices"; }
VoiceRelease release(const char* name) { return *VoiceRelease::named(name); }

std::string entitlementsWith(const std::string& value) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
           "<key>com.apple.security.application-groups</key>" +
           value + "</dict></plist>";
}

TEST(EntitlementsTest, OnlyAListOfStringsGrantsGroups) {
    const std::string otherKey =
        "<plist version=\"1.0\"><dict><key>x</key><array><string>G</string></array></dict></plist>";
    // The file's contents, and the groups they grant.
    const std::pair<std::string, std::vector<std::string>> cases[] = {
        // clang-format off
        {entitlementsWith("<array><string>G1</string><string>G2</string></array>"), {"G1", "G2"}},
        {entitlementsWith("<array/>"), {}},
        {entitlementsWith("<string>G1</string>"), {}},
        {entitlementsWith("<array><string>G1</string><integer>2</integer></array>"), {}},
        {otherKey, {}},
        {"<plist version=\"1.0\"><array><string>G</string></array></plist>", {}},  // the root is a list
        {entitlementsWith("<array><string>G1</string>"), {}},  // damaged
        {"hello", {}},
        {"", {}},
        // clang-format on
    };
    TempDir dir;
    for (const auto& [contents, groups] : cases) {
        writeFile(dir / "e.plist", contents);
        EXPECT_EQ(Entitlements::applicationGroups(dir / "e.plist"), groups) << contents;
    }
    EXPECT_TRUE(Entitlements::applicationGroups(dir / "missing.plist").empty());
}

TEST(EntitlementsTest, EnvironmentChoosesTheFileAndIsReadAfreshEachTime) {
    EXPECT_EQ(VoiceStore::entitledGroups(), std::vector<std::string>{"group.test.velmora"});
    TempDir dir;
    writeFile(dir / "other.plist", entitlementsWith("<array><string>X</string></array>"));
    const std::string saved = std::getenv("VELMORA_ENTITLEMENTS");
    ::setenv("VELMORA_ENTITLEMENTS", (dir / "other.plist").c_str(), 1);
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
    EXPECT_EQ(resolve(root.path(), {"G1", "G2"}).value().id, "G1");
    EXPECT_TRUE(fs::is_directory(root / "G1"));
    EXPECT_FALSE(fs::exists(root / "G2"));

    // A file where G1's folder would go: the system has no folder for G1, only for G2.
    TempDir blocked;
    writeFile(blocked / "G1", "not a folder");
    const auto second = resolve(blocked.path(), {"G1", "G2"}).value();
    EXPECT_EQ(second.id, "G2");
    EXPECT_EQ(second.url, blocked / "G2");
}

TEST(ContainerResolutionTest, FallbackIdentifiersAreFoundOnlyWhenTheirFolderExists) {
    TempDir root;
    EXPECT_FALSE(resolve(root.path(), {}));
    EXPECT_TRUE(fs::is_empty(root.path())) << "a fallback identifier never creates a folder";

    fs::create_directories(root / "group.com.tarvenholt.Velmora");
    EXPECT_EQ(resolve(root.path(), {}).value().id, "group.com.tarvenholt.Velmora");

    fs::create_directories(root / "R8TD3KQ2VX.group.com.tarvenholt.Velmora");
    EXPECT_EQ(resolve(root.path(), {}).value().id, "R8TD3KQ2VX.group.com.tarvenholt.Velmora");
}

TEST(ContainerResolutionTest, IdentifiersThatAreNotPlainNamesHaveNoFolder) {
    TempDir root;
    for (const char* id : {"", ".", "..", "../escape", "a/b", "/abs"})
        EXPECT_FALSE(AppGroupContainers::folder(root.path(), id, true)) << id;
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

// Every test of the packs starts with no Voices folder in the container.
class StoreTest : public ::testing::Test {
protected:
    void SetUp() override { fs::remove_all(voices()); }
    void TearDown() override { fs::remove_all(voices()); }

    static fs::path pack(const char* release, const char* locale) { return voices() / release / locale; }
    static void installPack(const char* release, const char* locale, std::string_view voice) {
        writeFile(pack(release, locale) / "broker.hdr", brokerHeader(voice));
    }
};

TEST_F(StoreTest, TheProcessContainerIsReadyAndVoicesIsCreatedOnlyOnRequest) {
    EXPECT_EQ(VoiceStore::containerStatus(), ContainerStatus(ContainerStatus::Ready{container()}));
    EXPECT_EQ(VoiceStore::root(false), voices());
    EXPECT_FALSE(fs::exists(voices()));
    EXPECT_EQ(VoiceStore::root(true), voices());
    EXPECT_TRUE(fs::is_directory(voices()));
}

TEST_F(StoreTest, CompactDirectoryFollowsTheReleaseDirectory) {
    EXPECT_EQ(VoiceStore::compactDirectory(release("ios4"), "en-US"),
              TestWorld::compactResources() / "TTSResources/en-US");
    EXPECT_EQ(VoiceStore::compactDirectory(release("ios5"), "en-US"),
              TestWorld::compactResources() / "ios5/TTSResources/en-US");
    EXPECT_EQ(VoiceStore::compactDirectory(release("ios6"), "en-US"), std::nullopt);
    EXPECT_EQ(VoiceStore::compactDirectory(release("ios5"), "../../ios5/TTSResources/en-US"), std::nullopt);
}

TEST_F(StoreTest, VoiceNameComesFromCompactDataAndIsReadOnce) {
    EXPECT_EQ(VoiceStore::voiceName(release("ios4"), "en-US"), "Samantha");
    EXPECT_EQ(VoiceStore::voiceName(release("ios7"), "de-DE"), std::nullopt) << "blank name";
    EXPECT_EQ(VoiceStore::voiceName(release("ios7"), "xx-XX"), std::nullopt) << "no compact data";

    const fs::path header = TestWorld::compactResources() / "ios6/TTSResources/fr-FR/broker.hdr";
    EXPECT_EQ(VoiceStore::voiceName(release("ios6"), "fr-FR"), "Am\xC3\xA9lie");
    const std::string original = readFile(header);
    writeFile(header, brokerHeader("Changed"));
    EXPECT_EQ(VoiceStore::voiceName(release("ios6"), "fr-FR"), "Am\xC3\xA9lie") << "cached";
    writeFile(header, original);
}

TEST_F(StoreTest, MissingDictionariesAreTheCompactOnesThePackLacks) {
    EXPECT_TRUE(VoiceStore::missingDictionaries(release("ios5"), "en-US").empty()) << "no pack directory";
    EXPECT_EQ(VoiceStore::addDictionaries(release("ios5"), "en-US"), 0);
    EXPECT_FALSE(fs::exists(pack("ios5", "en-US")));

    installPack("ios5", "en-US", "Samantha");
    writeFile(pack("ios5", "en-US") / "user_rules.txt", "the pack's own rules");
    EXPECT_EQ(VoiceStore::missingDictionaries(release("ios5"), "en-US"),
              std::vector<std::string>{"en_userdct.dat"});

    EXPECT_EQ(VoiceStore::addDictionaries(release("ios5"), "en-US"), 1);
    EXPECT_EQ(readFile(pack("ios5", "en-US") / "en_userdct.dat"), "dictionary");
    EXPECT_EQ(readFile(pack("ios5", "en-US") / "user_rules.txt"), "the pack's own rules");
    EXPECT_FALSE(fs::is_symlink(pack("ios5", "en-US") / "en_userdct.dat"));
    EXPECT_TRUE(VoiceStore::missingDictionaries(release("ios5"), "en-US").empty());
}

TEST_F(StoreTest, AddMissingDictionariesTopsUpListedPacksOnce) {
    installPack("ios5", "en-US", "Samantha");
    installPack("ios4", "en-US", "Samantha");
    writeFile(pack("ios7", "de-DE") / "broker.hdr", "<voice></voice>");  // not listed, left alone

    EXPECT_EQ(VoiceStore::addMissingDictionaries(), 3);
    EXPECT_TRUE(fs::exists(pack("ios4", "en-US") / "user_rules.txt"));
    EXPECT_FALSE(fs::exists(pack("ios5", "en-US") / "User_Rules.txt"));
    EXPECT_FALSE(fs::exists(pack("ios5", "en-US") / "voice.dat"));
    EXPECT_EQ(VoiceStore::addMissingDictionaries(), 0);
}

TEST_F(StoreTest, AFailedCopyIsSkippedAndTheOthersStillHappen) {
    installPack("ios5", "en-US", "Samantha");
    // A folder in the way of one dictionary: that copy fails, the other succeeds.
    fs::create_directories(pack("ios5", "en-US") / "en_userdct.dat");
    EXPECT_EQ(VoiceStore::missingDictionaries(release("ios5"), "en-US"),
              std::vector<std::string>{"user_rules.txt"});
    EXPECT_EQ(VoiceStore::addDictionaries(release("ios5"), "en-US"), 1);
}

std::vector<std::string> listed() {
    std::vector<std::string> ids;
    for (const auto& voice : VoiceStore::installed())
        ids.push_back(voice.release.name + "/" + voice.locale + " " + voice.name);
    return ids;
}

TEST_F(StoreTest, DirectoryIsFormedWithoutTouchingTheDisk) {
    EXPECT_EQ(VoiceStore::directory(release("ios6"), "en-US"), voices() / "ios6/en-US");
    EXPECT_FALSE(fs::exists(voices()));
    EXPECT_EQ(VoiceStore::directory(release("ios6"), ".."), std::nullopt);
}

TEST_F(StoreTest, InstalledListsReadablePacksByReleaseThenLocale) {
    installPack("ios5", "fr-FR", "Thomas");
    installPack("ios5", "en-US", "Samantha");
    installPack("ios5", "de-DE", "Anna");
    installPack("ios3", "en-GB", "Daniel");
    writeFile(voices() / "ios5/.DS_Store", "junk");
    writeFile(voices() / "ios7/stray.txt", "a file in a release folder");
    writeFile(pack("ios6", "en-US") / "broker.hdr", "<voice>  </voice>");  // blank name
    writeFile(pack("ios6", "es-ES") / "data.bin", "no header at all");
    fs::create_directories(voices() / ".staging/ABC/unpacked");
    fs::create_directories(voices() / "ios9/en-US");
    writeFile(voices() / "ios9/en-US/broker.hdr", brokerHeader("Unknown"));

    EXPECT_EQ(listed(), (std::vector<std::string>{"ios3/en-GB Daniel", "ios5/de-DE Anna",
                                                  "ios5/en-US Samantha", "ios5/fr-FR Thomas"}));
    EXPECT_TRUE(VoiceStore::isInstalled(release("ios6"), "en-US")) << "a header is enough";
    EXPECT_FALSE(VoiceStore::isInstalled(release("ios6"), "es-ES"));
    EXPECT_FALSE(VoiceStore::isInstalled(release("ios7"), "en-US"));
}

TEST_F(StoreTest, SizeCountsFilesDirectlyInsideThePack) {
    installPack("ios6", "en-US", "Samantha");
    const auto headerSize = static_cast<std::int64_t>(fs::file_size(pack("ios6", "en-US") / "broker.hdr"));
    writeFile(pack("ios6", "en-US") / "a.dat", std::string(10, 'a'));
    writeFile(pack("ios6", "en-US") / "b.dat", std::string(20, 'b'));
    writeFile(pack("ios6", "en-US") / "sub/c.dat", std::string(1000, 'c'));

    EXPECT_EQ(VoiceStore::size(pack("ios6", "en-US")), headerSize + 30);
    EXPECT_EQ(VoiceStore::installed().at(0).sizeInBytes, headerSize + 30);
    EXPECT_EQ(VoiceStore::size(voices() / "missing"), 0);
}

TEST_F(StoreTest, RemoveDeletesThePackAndAnEmptyReleaseFolder) {
    installPack("ios5", "en-US", "Samantha");
    installPack("ios5", "de-DE", "Anna");
    installPack("ios6", "en-US", "Samantha");

    VoiceStore::remove(release("ios5"), "en-US");
    EXPECT_FALSE(fs::exists(pack("ios5", "en-US")));
    EXPECT_TRUE(fs::exists(voices() / "ios5")) << "one pack left";

    VoiceStore::remove(release("ios5"), "de-DE");
    EXPECT_FALSE(fs::exists(voices() / "ios5")) << "last pack gone";
    EXPECT_TRUE(fs::exists(pack("ios6", "en-US")));

    EXPECT_THROW(VoiceStore::remove(release("ios5"), "de-DE"), fs::filesystem_error);
}

TEST_F(StoreTest, RemoveOfALinkedPackLeavesItsTargetAlone) {
    TempDir outside;
    writeFile(outside / "keep/broker.hdr", brokerHeader("Outsider"));
    fs::create_directories(voices() / "ios5");
    fs::create_directory_symlink(outside / "keep", pack("ios5", "en-US"));

    VoiceStore::remove(release("ios5"), "en-US");
    EXPECT_FALSE(fs::exists(fs::symlink_status(pack("ios5", "en-US"))));
    EXPECT_TRUE(fs::exists(outside / "keep/broker.hdr"));
}

TEST(BrokerTagTest, FindsTheFirstClosedElement) {
    const std::pair<const char*, std::optional<std::string>> cases[] = {
        {"<voice> Samantha \n</voice>", "Samantha"},
        {"<voice>  \t\n </voice>", std::nullopt},
        {"<voice>Samantha", std::nullopt},
        {"</voice>x<voice>Tom</voice>", "Tom"},
        {"<Voice>Samantha</Voice>", std::nullopt},
        {"<voice>Anna</voice><voice>Petra</voice>", "Anna"},
        {"<voice>\xC2\xA0"
         "Am\xC3\xA9lie\xC2\x85</voice>",
         "Am\xC3\xA9lie"},
    };
    for (const auto& [text, name] : cases) EXPECT_EQ(VoiceStore::brokerTag("voice", text), name) << text;
    EXPECT_EQ(VoiceStore::brokerTag("rate", "<voice>A</voice><rate> 22050 </rate>"), "22050");
}

// Only the explanation's list of groups is built; the rest is fixed text.
TEST(ContainerStatusTest, NamesEveryEntitledGroup) {
    EXPECT_TRUE(ContainerStatus(ContainerStatus::NoContainer{{"A", "B"}})
                    .explanation()
                    ->starts_with("The app is entitled to A, B but"));
}

TEST(ByteCountTest, FormatsFileSizesInDecimalUnits) {
    const std::pair<std::int64_t, const char*> cases[] = {
        {0, "Zero KB"},         {1, "1 byte"},         {532, "532 bytes"},   {999, "999 bytes"},
        {1000, "1 KB"},         {1499, "1 KB"},        {1500, "2 KB"},       {999499, "999 KB"},
        {999500, "1 MB"},       {12345678, "12.3 MB"}, {1000000, "1 MB"},    {1250000000, "1.25 GB"},
        {1200000000, "1.2 GB"}, {999950000, "1 GB"},   {-532, "-532 bytes"}, {3000000000000, "3 TB"},
    };
    for (const auto& [bytes, text] : cases) EXPECT_EQ(formatByteCount(bytes), text) << bytes;
}

TEST(VoiceIdTest, ParsesReleaseAndPlainLocaleOnly) {
    const VoiceId id = VoiceId::parse("ios6/en-US").value();
    EXPECT_EQ(id.release.name, "ios6");
    EXPECT_EQ(id.locale, "en-US");
    EXPECT_EQ(id.text(), "ios6/en-US");
    for (const char* bad : {"ios6", "ios8/en-US", "ios6/", "ios6/..", "ios6/en/US", "/en-US", "iOS6/en-US"})
        EXPECT_FALSE(VoiceId::parse(bad)) << bad;
}

}  // namespace
}  // namespace velmora::test

// Entitles the process and writes this test bundle's compact data, once, then runs the tests.
int main(int argc, char** argv) {
    using namespace velmora::test;
    TestWorld::entitle("group.test.velmora");
    // iOS 4 keeps its compact data directly below the resource folder, the others below ios<N>/.
    TestWorld::writeCompactData({{"TTSResources/en-US/broker.hdr", brokerHeader("Samantha")},
                                 {"TTSResources/en-US/user_rules.txt", "Mac OS X\tMac OS ten\n"},
                                 {"ios5/TTSResources/en-US/broker.hdr", brokerHeader("Samantha")},
                                 {"ios5/TTSResources/en-US/user_rules.txt", "rules"},
                                 {"ios5/TTSResources/en-US/en_userdct.dat", "dictionary"},
                                 {"ios5/TTSResources/en-US/User_Rules.txt", "not a dictionary"},
                                 {"ios5/TTSResources/en-US/voice.dat", "voice data"},
                                 {"ios6/TTSResources/fr-FR/broker.hdr", "<voice>Am\xE9lie</voice>"},
                                 {"ios7/TTSResources/de-DE/broker.hdr", "<voice>   </voice>"}});
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
