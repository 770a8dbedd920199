// A process whose entitled group cannot have a folder: installs fail before any download, and
// the failure's text tells the container's state when it is read, not when the failure was made.
#include <gtest/gtest.h>

#include <cstdlib>

#include "enhanced/InstallFailure.h"
#include "enhanced/VoiceInstaller.h"
#include "support/Entitlement.h"
#include "support/Files.h"

TEST(EnhancedNoContainerTest, InstallFailsWithTheContainersExplanationOfTheMoment) {
    const velmora::test::TempDir dir;
    velmora::test::writeFile(dir / "app-groups", "a file where the containers would go");
    velmora::test::entitleProcess(dir.path(), "G1");
    // Nothing listens at this address: a download attempt would fail differently.
    const velmora::EnhancedVoice voice{
        *velmora::VoiceRelease::named("ios6"), "en-US", 0, 0, "http://127.0.0.1:9/", {}, ""};
    try {
        velmora::VoiceInstaller(
            voice, [](double) {}, [] { ADD_FAILURE() << "unpacking"; }, {})
            .run();
        ADD_FAILURE() << "installed without a container";
    } catch (const velmora::InstallFailure& failure) {
        EXPECT_TRUE(std::string(failure.what()).starts_with("The app is entitled to G1 but"));
        ::setenv("VELMORA_ENTITLEMENTS", (dir / "missing.plist").c_str(), 1);
        EXPECT_TRUE(std::string(failure.what()).starts_with("This copy of the app was signed without"));
    }
}
