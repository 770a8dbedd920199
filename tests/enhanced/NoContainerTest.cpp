// A process whose entitled group cannot have a folder: every store operation fails soft, installs
// fail before any download, and a failure's text tells the container's state when it is read, not
// when the failure was made.
#include <gtest/gtest.h>

#include <cstdlib>

#include "enhanced/InstallFailure.h"
#include "enhanced/VoiceInstaller.h"
#include "store/VoiceStore.h"
#include "support/Entitlement.h"
#include "support/Files.h"

namespace velmora {
namespace {

TEST(NoContainerTest, StoreFailsSoftAndInstallExplainsTheContainerOfTheMoment) {
    const test::TempDir dir;
    test::writeFile(dir / "app-groups", "a file where the containers would go");
    test::entitleProcess(dir.path(), "G1");

    const VoiceRelease ios6 = *VoiceRelease::named("ios6");
    EXPECT_EQ(VoiceStore::containerStatus(), ContainerStatus(ContainerStatus::NoContainer{{"G1"}}));
    EXPECT_EQ(VoiceStore::root(true), std::nullopt);
    EXPECT_EQ(VoiceStore::directory(ios6, "en-US"), std::nullopt);
    EXPECT_FALSE(VoiceStore::isInstalled(ios6, "en-US"));
    EXPECT_TRUE(VoiceStore::installed().empty());
    EXPECT_NO_THROW(VoiceStore::remove(ios6, "en-US"));
    EXPECT_NO_THROW(VoiceStore::removeAll());
    EXPECT_EQ(VoiceStore::addMissingDictionaries(), 0);
    EXPECT_TRUE(VoiceStore::missingDictionaries(ios6, "en-US").empty());

    // Nothing listens at this address: a download attempt would fail differently.
    const EnhancedVoice voice{ios6, "en-US", 0, 0, "http://127.0.0.1:9/", {}, ""};
    try {
        VoiceInstaller(voice, {}, {}, {}).run();
        ADD_FAILURE() << "installed without a container";
    } catch (const InstallFailure& failure) {
        EXPECT_TRUE(std::string(failure.what()).starts_with("The app is entitled to G1 but"));
        // The entitlement is read afresh: without it, the status is notEntitled.
        ::setenv("VELMORA_ENTITLEMENTS", (dir / "missing.plist").c_str(), 1);
        EXPECT_EQ(VoiceStore::containerStatus(), ContainerStatus(ContainerStatus::NotEntitled{}));
        EXPECT_TRUE(std::string(failure.what()).starts_with("This copy of the app was signed without"));
    }
}

}  // namespace
}  // namespace velmora
