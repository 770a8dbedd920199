#include <gtest/gtest.h>

#include "CatalogFixture.h"
#include "EnhancedWorld.h"
#include "enhanced/EnhancedVoiceManager.h"
#include "enhanced/PackReplacement.h"
#include "enhanced/Sha1.h"
#include "support/Files.h"

namespace velmora::test {
namespace {
namespace fs = std::filesystem;

TEST(DigestTest, FileDigestIsTheSha1OfItsBytes) {
    const fs::path folder = EnhancedWorld::scratch();
    const struct {
        const char* name;
        std::string contents;
    } cases[] = {
        {"empty", ""},
        {"one byte", "a"},
        {"exactly one chunk", std::string(4'194'304, 'c')},
        {"one chunk and one byte", std::string(4'194'305, 'd')},
    };
    for (const auto& c : cases) {
        writeFile(folder / c.name, c.contents);
        EXPECT_EQ(EnhancedVoiceManager::digest(folder / c.name), sha1Of(c.contents)) << c.name;
        Sha1 pieces;
        for (std::size_t at = 0; at < c.contents.size(); at += 1000) {
            pieces.update(std::as_bytes(
                std::span(c.contents).subspan(at, std::min<std::size_t>(1000, c.contents.size() - at))));
        }
        EXPECT_EQ(pieces.finish(), sha1Of(c.contents)) << c.name;
    }
    // The digest of nothing, as published for SHA-1.
    EXPECT_EQ(sha1Of(""),
              (std::vector<std::byte>{std::byte{0xda}, std::byte{0x39}, std::byte{0xa3}, std::byte{0xee},
                                      std::byte{0x5e}, std::byte{0x6b}, std::byte{0x4b}, std::byte{0x0d},
                                      std::byte{0x32}, std::byte{0x55}, std::byte{0xbf}, std::byte{0xef},
                                      std::byte{0x95}, std::byte{0x60}, std::byte{0x18}, std::byte{0x90},
                                      std::byte{0xaf}, std::byte{0xd8}, std::byte{0x07}, std::byte{0x09}}));
    EXPECT_THROW(EnhancedVoiceManager::digest(folder / "missing"), fs::filesystem_error);
}

TEST(PackReplacementTest, NewPackInOldPackOutOrOldPackKept) {
    const fs::path folder = EnhancedWorld::scratch();
    const auto prepare = [&] {
        fs::remove_all(folder);
        writeFile(folder / "new/broker.hdr", "new");
        writeFile(folder / "target/broker.hdr", "old");
    };
    prepare();
    replacePack(folder / "new", folder / "target", folder / "aside");
    EXPECT_EQ(readFile(folder / "target/broker.hdr"), "new");
    EXPECT_EQ(readFile(folder / "new/broker.hdr"), "old") << "the old pack waits at the new one's place";

    prepare();
    replacePackByMovingAside(folder / "new", folder / "target", folder / "aside");
    EXPECT_EQ(readFile(folder / "target/broker.hdr"), "new");
    EXPECT_EQ(readFile(folder / "aside/broker.hdr"), "old");

    prepare();
    fs::remove_all(folder / "new");
    EXPECT_THROW(replacePackByMovingAside(folder / "new", folder / "target", folder / "aside"),
                 fs::filesystem_error);
    EXPECT_EQ(readFile(folder / "target/broker.hdr"), "old") << "the old pack is put back";
    EXPECT_THROW(replacePack(folder / "new", folder / "target", folder / "aside"), fs::filesystem_error);
    EXPECT_EQ(readFile(folder / "target/broker.hdr"), "old");

    fs::remove_all(folder / "target");
    writeFile(folder / "new/broker.hdr", "new");
    replacePack(folder / "new", folder / "target", folder / "aside");
    EXPECT_EQ(readFile(folder / "target/broker.hdr"), "new");
    EXPECT_FALSE(fs::exists(folder / "new"));
}

TEST(InstallFailureTest, Texts) {
    // This process has a container, so no explanation applies.
    EXPECT_STREQ(InstallFailure::noContainer().what(), "The shared voice folder is unavailable.");
    EXPECT_STREQ(InstallFailure::digestMismatch().what(),
                 "The download did not match the checksum Apple published.");
    EXPECT_STREQ(InstallFailure::noVoiceInArchive().what(), "The download did not contain a voice.");
    EXPECT_NE(InstallFailure::noContainer(), InstallFailure::digestMismatch());
    EXPECT_STREQ(NotEnoughSpace(2'500'000, 1'000'000).what(),
                 "There is not enough free space for this voice: it needs 2.5 MB and only 1 MB are free.");
}

}  // namespace
}  // namespace velmora::test
