// Entitles the process, writes this bundle's compact data and sets the user's locale, once.
#include <gtest/gtest.h>

#include "support/Files.h"
#include "support/TestWorld.h"

int main(int argc, char** argv) {
    using namespace velmora::test;
    TestWorld::entitle("group.test.enhanced");
    // Voice names that the display order uses, and dictionaries that installs copy into packs.
    TestWorld::writeCompactData({{"ios5/TTSResources/en-US/broker.hdr", brokerHeader("Samantha")},
                                 {"ios6/TTSResources/en-US/user_rules.txt", "rules"},
                                 {"ios6/TTSResources/en-US/en_userdct.dat", "dictionary"},
                                 {"ios6/TTSResources/en-AU/broker.hdr", brokerHeader("daniel")},
                                 {"ios6/TTSResources/en-GB/broker.hdr", brokerHeader("DANIEL")}});
    TestWorld::useUsEnglish();
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
