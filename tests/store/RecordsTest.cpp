#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <set>
#include <unordered_set>

#include "store/InstalledVoice.h"
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

// Records that differ in one field differ, and so do their hashes (an absent directory is not
// an empty one).
TEST(VoiceReleaseTest, EqualityAndHashCoverEveryField) {
    const VoiceRelease base = *VoiceRelease::named("ios5");
    const std::function<void(VoiceRelease&)> changes[] = {
        [](auto& r) { r.name = "x"; },         [](auto& r) { r.label = "x"; },
        [](auto& r) { r.directory = ""; },     [](auto& r) { r.directory = std::nullopt; },
        [](auto& r) { r.formatVersion = ""; }, [](auto& r) { r.enhancedTakesPitch = true; }};
    std::unordered_set<std::size_t> hashes{std::hash<VoiceRelease>{}(base)};
    for (const auto& change : changes) {
        VoiceRelease changed = base;
        change(changed);
        EXPECT_NE(changed, base);
        hashes.insert(std::hash<VoiceRelease>{}(changed));
    }
    EXPECT_EQ(hashes.size(), std::size(changes) + 1);
    EXPECT_EQ(std::hash<VoiceRelease>{}(base), std::hash<VoiceRelease>{}(VoiceRelease::all()[2]));

    const InstalledVoice before{VoiceRelease::all()[3], "en-US", "Samantha", "/c/Voices/ios6/en-US", 100};
    InstalledVoice after = before;
    after.sizeInBytes = 101;
    EXPECT_NE(before, after);
    EXPECT_NE(std::hash<InstalledVoice>{}(before), std::hash<InstalledVoice>{}(after));
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
