// A process whose entitled group cannot have a folder: installs fail before any download.
#include <gtest/gtest.h>

#include <cstdlib>

#include "enhanced/EnhancedVoiceManager.h"
#include "support/Entitlement.h"
#include "support/Files.h"

namespace velmora {
namespace {

TEST(EnhancedNoContainerTest, InstallFailsWithTheContainersExplanationOfTheMoment) {
    test::TempDir dir;
    test::writeFile(dir / "app-groups", "a file where the containers would go");
    test::entitleProcess(dir.path(), "G1");
    // Nothing listens at this address: a download attempt would fail differently.
    const EnhancedVoice voice{*VoiceRelease::named("ios6"), "en-US", 0, 0,
                              "http://127.0.0.1:9/v.zip",   {},      ""};
    bool unpacking = false;
    try {
        EnhancedVoiceManager::download(
            voice, [](double) {}, [&unpacking] { unpacking = true; });
        ADD_FAILURE() << "installed without a container";
    } catch (const InstallFailure& failure) {
        EXPECT_EQ(failure, InstallFailure::noContainer());
        EXPECT_TRUE(std::string(failure.what()).starts_with("The app is entitled to G1 but"))
            << failure.what();
        // The text tells the container's state when it is read, not when the failure was made.
        ::setenv("VELMORA_ENTITLEMENTS", (dir / "missing.plist").c_str(), 1);
        EXPECT_TRUE(std::string(failure.what()).starts_with("This copy of the app was signed without"))
            << failure.what();
    }
    EXPECT_FALSE(unpacking);
}

}  // namespace
}  // namespace velmora
