// Points the session bus's activated services at a container of this test's own before the
// first call starts the provider, then runs the tests.
#include <gtest/gtest.h>

#include "ProviderFixture.h"

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    velmora::test::ProviderWorld::prepare();
    return RUN_ALL_TESTS();
}
