// A process whose entitled group cannot have a folder: installs fail before any download.
#include <gtest/gtest.h>

#include <cstdlib>

#include "enhanced/EnhancedVoiceManager.h"
#include "store/VoiceStore.h"
#include "support/Files.h"

namespace velmora {
namespace {

TEST(EnhancedNoContainerTest, InstallFailsWithTheContainersExplanationOfTheMoment) {
    test::TempDir dir;
    test::writeFile(dir / "app-groups", "a file where the containers would go");
    test::writeFile(dir / "e.plist",
                    "<plist version=\"1.0\"><dict><key>com.apple.security.application-groups</key>"
                    "<array><string>G1</string></array></dict></plist>");
    ::setenv("VELMORA_APP_GROUPS_ROOT", (dir / "app-groups").c_str(), 1);
    ::setenv("VELMORA_ENTITLEMENTS", (dir / "e.plist").c_str(), 1);

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
        const std::string entitledText = failure.what();
        EXPECT_TRUE(entitledText.starts_with("The app is entitled to G1 but")) << entitledText;
        // The text follows the container's state when it is read, not when the failure was made.
        ::setenv("VELMORA_ENTITLEMENTS", (dir / "missing.plist").c_str(), 1);
        const std::string laterText = failure.what();
        EXPECT_TRUE(laterText.starts_with("This copy of the app was signed without")) << laterText;
    }
    EXPECT_FALSE(unpacking);
}

}  // namespace
}  // namespace velmora
