// Sets the container root, the entitlements and this test bundle's compact data before the
// store resolves them (once per process), then runs the tests.
#include <gtest/gtest.h>

#include "StoreFixture.h"
#include "store/Bundle.h"
#include "support/Entitlement.h"

namespace velmora::test {
namespace fs = std::filesystem;
namespace {

TempDir& world() {
    static TempDir dir;
    return dir;
}

void writeCompactData(const fs::path& resources) {
    // iOS 4 keeps its compact data directly below the resource folder, the others below ios<N>/.
    writeFile(resources / "TTSResources/en-US/broker.hdr", brokerHeader("Samantha"));
    writeFile(resources / "TTSResources/en-US/user_rules.txt", "Mac OS X\tMac OS ten\n");
    writeFile(resources / "ios5/TTSResources/en-US/broker.hdr", brokerHeader("Samantha"));
    writeFile(resources / "ios5/TTSResources/en-US/user_rules.txt", "rules");
    writeFile(resources / "ios5/TTSResources/en-US/en_userdct.dat", "dictionary");
    writeFile(resources / "ios5/TTSResources/en-US/User_Rules.txt", "not a dictionary");
    writeFile(resources / "ios5/TTSResources/en-US/voice.dat", "voice data");
    writeFile(resources / "ios6/TTSResources/fr-FR/broker.hdr", "<voice>Am\xE9lie</voice>");
    writeFile(resources / "ios7/TTSResources/de-DE/broker.hdr", "<voice>   </voice>");
}

}  // namespace

const fs::path& StoreWorld::containersRoot() {
    static const fs::path root = world() / "app-groups";
    return root;
}
const fs::path& StoreWorld::container() {
    static const fs::path folder = containersRoot() / "group.test.velmora";
    return folder;
}
const fs::path& StoreWorld::compactResources() {
    static const fs::path folder = Bundle::main().folder() / "PlugIns/Fixture.appex/Resources";
    return folder;
}

}  // namespace velmora::test

int main(int argc, char** argv) {
    using namespace velmora::test;
    entitleProcess(world().path(), "group.test.velmora");
    std::filesystem::remove_all(StoreWorld::compactResources().parent_path());
    writeCompactData(StoreWorld::compactResources());
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
