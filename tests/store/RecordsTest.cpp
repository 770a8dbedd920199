#include <gtest/gtest.h>

#include "store/VoiceId.h"

namespace velmora {
namespace {

TEST(VoiceIdTest, ParsesReleaseAndPlainLocaleOnly) {
    auto id = VoiceId::parse("ios6/en-US");
    ASSERT_TRUE(id);
    EXPECT_EQ(id->release.name, "ios6");
    EXPECT_EQ(id->locale, "en-US");
    EXPECT_EQ(id->text(), "ios6/en-US");
    for (const char* bad : {"ios6", "ios8/en-US", "ios6/", "ios6/..", "ios6/en/US", "/en-US", "iOS6/en-US"}) {
        EXPECT_FALSE(VoiceId::parse(bad)) << bad;
    }
}

}  // namespace
}  // namespace velmora
