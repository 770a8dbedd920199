// Entitles the process and writes this test bundle's compact data, once, then runs the tests.
#include <gtest/gtest.h>

#include "support/Files.h"
#include "support/TestWorld.h"

int main(int argc, char** argv) {
    using namespace velmora::test;
    TestWorld::entitle("group.test.velmora");
    // iOS 4 keeps its compact data directly below the resource folder, the others below ios<N>/.
    TestWorld::writeCompactData({{"TTSResources/en-US/broker.hdr", brokerHeader("Samantha")},
                                 {"TTSResources/en-US/user_rules.txt", "Mac OS X\tMac OS ten\n"},
                                 {"ios5/TTSResources/en-US/broker.hdr", brokerHeader("Samantha")},
                                 {"ios5/TTSResources/en-US/user_rules.txt", "rules"},
                                 {"ios5/TTSResources/en-US/en_userdct.dat", "dictionary"},
                                 {"ios5/TTSResources/en-US/User_Rules.txt", "not a dictionary"},
                                 {"ios5/TTSResources/en-US/voice.dat", "voice data"},
                                 {"ios6/TTSResources/fr-FR/broker.hdr", "<voice>Am\xE9lie</voice>"},
                                 {"ios7/TTSResources/de-DE/broker.hdr", "<voice>   </voice>"}});
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
