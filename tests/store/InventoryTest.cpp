#include <sys/stat.h>

#include "StoreFixture.h"

namespace velmora::test {
namespace {
namespace fs = std::filesystem;

VoiceRelease release(const char* name) { return *VoiceRelease::named(name); }

std::vector<std::string> listed() {
    std::vector<std::string> ids;
    for (const auto& voice : VoiceStore::installed()) {
        ids.push_back(voice.release.name + "/" + voice.locale + " " + voice.name);
    }
    return ids;
}

TEST_F(StoreTest, DirectoryIsFormedWithoutTouchingTheDisk) {
    EXPECT_EQ(VoiceStore::directory(release("ios6"), "en-US"), StoreWorld::voices() / "ios6/en-US");
    EXPECT_FALSE(fs::exists(StoreWorld::voices()));
    EXPECT_EQ(VoiceStore::directory(release("ios6"), ".."), std::nullopt);
    EXPECT_EQ(VoiceStore::directory(release("ios6"), "a/b"), std::nullopt);
}

TEST_F(StoreTest, InstalledListsReadablePacksByReleaseThenLocale) {
    installPack("ios5", "fr-FR", "Thomas");
    installPack("ios5", "en-US", "Samantha");
    installPack("ios5", "de-DE", "Anna");
    installPack("ios3", "en-GB", "Daniel");
    writeFile(StoreWorld::voices() / "ios5/.DS_Store", "junk");
    writeFile(StoreWorld::voices() / "ios7/stray.txt", "a file in a release folder");
    writeFile(pack("ios6", "en-US") / "broker.hdr", "<voice>  </voice>");  // blank name
    writeFile(pack("ios6", "es-ES") / "data.bin", "no header at all");
    fs::create_directories(StoreWorld::voices() / ".staging/ABC/unpacked");
    fs::create_directories(StoreWorld::voices() / "ios9/en-US");
    writeFile(StoreWorld::voices() / "ios9/en-US/broker.hdr", brokerHeader("Unknown"));

    EXPECT_EQ(listed(), (std::vector<std::string>{"ios3/en-GB Daniel", "ios5/de-DE Anna",
                                                  "ios5/en-US Samantha", "ios5/fr-FR Thomas"}));
    EXPECT_TRUE(VoiceStore::isInstalled(release("ios6"), "en-US")) << "a header is enough";
    EXPECT_FALSE(VoiceStore::isInstalled(release("ios6"), "es-ES"));
    EXPECT_FALSE(VoiceStore::isInstalled(release("ios7"), "en-US"));
}

TEST_F(StoreTest, InstalledReadsHeadersAsLatin1AndSkipsUnreadableOnes) {
    writeFile(pack("ios6", "fr-FR") / "broker.hdr", "<voice>Am\xE9lie</voice>");
    installPack("ios6", "de-DE", "Anna");
    fs::permissions(pack("ios6", "de-DE") / "broker.hdr", fs::perms::none);
    const bool unreadable = ::access((pack("ios6", "de-DE") / "broker.hdr").c_str(), R_OK) != 0;

    auto voices = VoiceStore::installed();
    ASSERT_FALSE(voices.empty());
    EXPECT_EQ(voices.back().name, "Am\xC3\xA9lie");
    if (unreadable) {
        EXPECT_EQ(voices.size(), 1u);  // root reads everything; others cannot
    }
}

TEST_F(StoreTest, SizeCountsFilesDirectlyInsideThePack) {
    installPack("ios6", "en-US", "Samantha");
    const auto headerSize = static_cast<std::int64_t>(fs::file_size(pack("ios6", "en-US") / "broker.hdr"));
    writeFile(pack("ios6", "en-US") / "a.dat", std::string(10, 'a'));
    writeFile(pack("ios6", "en-US") / "b.dat", std::string(20, 'b'));
    writeFile(pack("ios6", "en-US") / "sub/c.dat", std::string(1000, 'c'));

    EXPECT_EQ(VoiceStore::size(pack("ios6", "en-US")), headerSize + 30);
    EXPECT_EQ(VoiceStore::installed().at(0).sizeInBytes, headerSize + 30);
    EXPECT_EQ(VoiceStore::size(StoreWorld::voices() / "missing"), 0);
}

TEST_F(StoreTest, RemoveDeletesThePackAndAnEmptyReleaseFolder) {
    installPack("ios5", "en-US", "Samantha");
    installPack("ios5", "de-DE", "Anna");
    installPack("ios6", "en-US", "Samantha");

    VoiceStore::remove(release("ios5"), "en-US");
    EXPECT_FALSE(fs::exists(pack("ios5", "en-US")));
    EXPECT_TRUE(fs::exists(StoreWorld::voices() / "ios5")) << "one pack left";

    VoiceStore::remove(release("ios5"), "de-DE");
    EXPECT_FALSE(fs::exists(StoreWorld::voices() / "ios5")) << "last pack gone";
    EXPECT_TRUE(fs::exists(pack("ios6", "en-US")));

    EXPECT_THROW(VoiceStore::remove(release("ios5"), "de-DE"), fs::filesystem_error);
}

TEST_F(StoreTest, RemoveOfALinkedPackLeavesItsTargetAlone) {
    TempDir outside;
    writeFile(outside / "keep/broker.hdr", brokerHeader("Outsider"));
    fs::create_directories(StoreWorld::voices() / "ios5");
    fs::create_directory_symlink(outside / "keep", pack("ios5", "en-US"));

    VoiceStore::remove(release("ios5"), "en-US");
    EXPECT_FALSE(fs::exists(fs::symlink_status(pack("ios5", "en-US"))));
    EXPECT_TRUE(fs::exists(outside / "keep/broker.hdr"));
}

}  // namespace
}  // namespace velmora::test
