#include "StoreFixture.h"

namespace velmora::test {
namespace {
namespace fs = std::filesystem;

const VoiceRelease ios4 = VoiceRelease::all()[1];
const VoiceRelease ios5 = VoiceRelease::all()[2];
const VoiceRelease ios6 = VoiceRelease::all()[3];
const VoiceRelease ios7 = VoiceRelease::all()[4];

TEST_F(StoreTest, CompactDirectoryFollowsTheReleaseDirectory) {
    EXPECT_EQ(VoiceStore::resourceFolder(), StoreWorld::compactResources());
    EXPECT_EQ(VoiceStore::compactDirectory(ios4, "en-US"),
              StoreWorld::compactResources() / "TTSResources/en-US");
    EXPECT_EQ(VoiceStore::compactDirectory(ios5, "en-US"),
              StoreWorld::compactResources() / "ios5/TTSResources/en-US");
    EXPECT_EQ(VoiceStore::compactDirectory(ios6, "en-US"), std::nullopt);
    EXPECT_EQ(VoiceStore::compactDirectory(ios5, "../../ios5/TTSResources/en-US"), std::nullopt);
}

TEST_F(StoreTest, VoiceNameComesFromCompactDataAndIsReadOnce) {
    EXPECT_EQ(VoiceStore::voiceName(ios4, "en-US"), "Samantha");
    EXPECT_EQ(VoiceStore::voiceName(ios7, "de-DE"), std::nullopt) << "blank name";
    EXPECT_EQ(VoiceStore::voiceName(ios7, "xx-XX"), std::nullopt) << "no compact data";

    const fs::path header = StoreWorld::compactResources() / "ios6/TTSResources/fr-FR/broker.hdr";
    EXPECT_EQ(VoiceStore::voiceName(ios6, "fr-FR"), "Am\xC3\xA9lie");
    const std::string original = readFile(header);
    writeFile(header, brokerHeader("Changed"));
    EXPECT_EQ(VoiceStore::voiceName(ios6, "fr-FR"), "Am\xC3\xA9lie") << "cached";
    writeFile(header, original);
}

TEST_F(StoreTest, MissingDictionariesAreTheCompactOnesThePackLacks) {
    EXPECT_TRUE(VoiceStore::missingDictionaries(ios5, "en-US").empty()) << "no pack directory";
    EXPECT_EQ(VoiceStore::addDictionaries(ios5, "en-US"), 0);
    EXPECT_FALSE(fs::exists(pack("ios5", "en-US")));

    installPack("ios5", "en-US", "Samantha");
    writeFile(pack("ios5", "en-US") / "user_rules.txt", "the pack's own rules");
    EXPECT_EQ(VoiceStore::missingDictionaries(ios5, "en-US"), std::vector<std::string>{"en_userdct.dat"});

    EXPECT_EQ(VoiceStore::addDictionaries(ios5, "en-US"), 1);
    EXPECT_EQ(readFile(pack("ios5", "en-US") / "en_userdct.dat"), "dictionary");
    EXPECT_EQ(readFile(pack("ios5", "en-US") / "user_rules.txt"), "the pack's own rules");
    EXPECT_FALSE(fs::is_symlink(pack("ios5", "en-US") / "en_userdct.dat"));
    EXPECT_TRUE(VoiceStore::missingDictionaries(ios5, "en-US").empty());
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
    EXPECT_EQ(VoiceStore::missingDictionaries(ios5, "en-US"), std::vector<std::string>{"user_rules.txt"});
    EXPECT_EQ(VoiceStore::addDictionaries(ios5, "en-US"), 1);
}

}  // namespace
}  // namespace velmora::test
