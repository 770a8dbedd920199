// A process whose entitled group cannot have a folder: every store operation fails soft.
#include <gtest/gtest.h>

#include <cstdlib>

#include "store/VoiceStore.h"
#include "support/Entitlement.h"
#include "support/Files.h"

namespace velmora {
namespace {

TEST(NoContainerTest, EveryOperationGivesItsSoftResult) {
    test::TempDir dir;
    test::writeFile(dir / "app-groups", "a file where the containers would go");
    test::entitleProcess(dir.path(), "G1");

    const VoiceRelease& ios6 = VoiceRelease::all()[3];
    EXPECT_EQ(VoiceStore::containerStatus(), ContainerStatus(ContainerStatus::NoContainer{{"G1"}}));
    EXPECT_EQ(VoiceStore::root(true), std::nullopt);
    EXPECT_EQ(VoiceStore::directory(ios6, "en-US"), std::nullopt);
    EXPECT_FALSE(VoiceStore::isInstalled(ios6, "en-US"));
    EXPECT_TRUE(VoiceStore::installed().empty());
    EXPECT_NO_THROW(VoiceStore::remove(ios6, "en-US"));
    EXPECT_NO_THROW(VoiceStore::removeAll());
    EXPECT_EQ(VoiceStore::addMissingDictionaries(), 0);
    EXPECT_TRUE(VoiceStore::missingDictionaries(ios6, "en-US").empty());

    // The entitlement is read afresh: without it, the status is notEntitled.
    ::setenv("VELMORA_ENTITLEMENTS", (dir / "missing.plist").c_str(), 1);
    EXPECT_EQ(VoiceStore::containerStatus(), ContainerStatus(ContainerStatus::NotEntitled{}));
}

}  // namespace
}  // namespace velmora
