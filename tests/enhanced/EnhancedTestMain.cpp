// Sets the container root, the entitlements, this test bundle's compact data and the user's
// locale before anything resolves them (once per process), then runs the tests.
#include <gtest/gtest.h>
#include <unicode/locid.h>

#include <cstdlib>

#include "EnhancedWorld.h"
#include "store/Bundle.h"
#include "support/Files.h"

namespace velmora::test {
namespace fs = std::filesystem;
namespace {

TempDir& world() {
    static TempDir dir;
    return dir;
}

// Voice names that the display order uses, and dictionaries that installs copy into packs.
void writeCompactData(const fs::path& resources) {
    writeFile(resources / "ios5/TTSResources/en-US/broker.hdr", brokerHeader("Samantha"));
    writeFile(resources / "ios6/TTSResources/en-US/broker.hdr", brokerHeader("Samantha"));
    writeFile(resources / "ios6/TTSResources/en-US/user_rules.txt", "rules");
    writeFile(resources / "ios6/TTSResources/en-US/en_userdct.dat", "dictionary");
    writeFile(resources / "ios6/TTSResources/en-AU/broker.hdr", brokerHeader("daniel"));
    writeFile(resources / "ios6/TTSResources/en-GB/broker.hdr", brokerHeader("DANIEL"));
}

}  // namespace

const fs::path& EnhancedWorld::container() {
    static const fs::path folder = world() / "app-groups/group.test.enhanced";
    return folder;
}

fs::path EnhancedWorld::scratch() {
    const fs::path folder = world() / "scratch";
    fs::remove_all(folder);
    fs::create_directories(folder);
    return folder;
}

}  // namespace velmora::test

int main(int argc, char** argv) {
    using namespace velmora::test;
    writeFile(world() / "velmora.entitlements",
              "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>"
              "<key>com.apple.security.application-groups</key>"
              "<array><string>group.test.enhanced</string></array></dict></plist>");
    ::setenv("VELMORA_ENTITLEMENTS", (world() / "velmora.entitlements").c_str(), 1);
    ::setenv("VELMORA_APP_GROUPS_ROOT", (world() / "app-groups").c_str(), 1);
    ::unsetenv("VELMORA_CATALOG_URL");
    ::unsetenv("VELMORA_CA_FILE");
    const auto resources = velmora::Bundle::main().folder() / "PlugIns/Fixture.appex/Resources";
    std::filesystem::remove_all(resources.parent_path());
    writeCompactData(resources);
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale::setDefault(icu::Locale("en", "US"), status);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
