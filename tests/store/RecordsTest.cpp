#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "store/VoiceId.h"
#include "store/VoiceRelease.h"

namespace velmora {
namespace {

// Only releases with a format version download, each under a version of its own.
TEST(VoiceReleaseTest, ThoseWithAFormatVersionDownload) {
    std::set<std::string> formats;
    for (const auto& release : VoiceRelease::downloadable())
        formats.insert(release.formatVersion.value_or(""));
    const auto versioned =
        std::ranges::count_if(VoiceRelease::all(), [](auto& r) { return r.formatVersion.has_value(); });
    EXPECT_EQ(std::ssize(VoiceRelease::downloadable()), versioned);
    EXPECT_EQ(std::ssize(formats), versioned);
    EXPECT_FALSE(formats.empty() || formats.contains(""));
    EXPECT_EQ(VoiceRelease::named("ios4")->directory, std::nullopt);
    EXPECT_TRUE(VoiceRelease::named("ios7")->enhancedTakesPitch);
}

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
