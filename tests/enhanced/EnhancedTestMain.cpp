// Entitles the process, writes this bundle's compact data and sets the user's locale, once.
#include <gtest/gtest.h>
#include <unicode/locid.h>

#include "Fixtures.h"
#include "store/Bundle.h"
#include "support/Entitlement.h"
#include "support/Files.h"

const std::filesystem::path& velmora::test::world() {
    static const TempDir dir;
    return dir.path();
}

int main(int argc, char** argv) {
    using namespace velmora::test;
    entitleProcess(world(), "group.test.enhanced");
    // Voice names that the display order uses, and dictionaries that installs copy into packs.
    const auto resources = velmora::Bundle::main().folder() / "PlugIns/Fixture.appex/Resources";
    std::filesystem::remove_all(resources.parent_path());
    writeFile(resources / "ios5/TTSResources/en-US/broker.hdr", brokerHeader("Samantha"));
    writeFile(resources / "ios6/TTSResources/en-US/user_rules.txt", "rules");
    writeFile(resources / "ios6/TTSResources/en-US/en_userdct.dat", "dictionary");
    writeFile(resources / "ios6/TTSResources/en-AU/broker.hdr", brokerHeader("daniel"));
    writeFile(resources / "ios6/TTSResources/en-GB/broker.hdr", brokerHeader("DANIEL"));
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale::setDefault(icu::Locale("en", "US"), status);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
