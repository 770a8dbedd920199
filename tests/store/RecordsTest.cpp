#include <gtest/gtest.h>

#include <unordered_set>

#include "store/InstalledVoice.h"
#include "store/VoiceId.h"
#include "store/VoiceRelease.h"

namespace velmora {
namespace {

TEST(VoiceReleaseTest, TableHoldsTheFiveReleasesInOrder) {
    const std::vector<VoiceRelease> expected{
        {"ios3", "iPhone OS 3", "ios3", std::nullopt, false},
        {"ios4", "iOS 4", std::nullopt, std::nullopt, false},
        {"ios5", "iOS 5", "ios5", "3", false},
        {"ios6", "iOS 6", "ios6", "4", false},
        {"ios7", "iOS 7", "ios7", "5", true},
    };
    EXPECT_EQ(VoiceRelease::all(), expected);

    std::vector<std::string> downloadable;
    for (const auto& release : VoiceRelease::downloadable()) downloadable.push_back(release.name);
    EXPECT_EQ(downloadable, (std::vector<std::string>{"ios5", "ios6", "ios7"}));
}

TEST(VoiceReleaseTest, EqualityAndHashCoverEveryField) {
    const VoiceRelease base{"ios5", "iOS 5", "ios5", "3", false};
    VoiceRelease pitch = base;
    pitch.enhancedTakesPitch = true;
    VoiceRelease emptyDirectory = base;
    emptyDirectory.directory = "";
    VoiceRelease noDirectory = base;
    noDirectory.directory = std::nullopt;

    EXPECT_NE(base, pitch);
    EXPECT_NE(emptyDirectory, noDirectory);
    EXPECT_EQ(base, VoiceRelease::all()[2]);
    EXPECT_EQ(std::hash<VoiceRelease>{}(base), std::hash<VoiceRelease>{}(VoiceRelease::all()[2]));
    EXPECT_NE(std::hash<VoiceRelease>{}(emptyDirectory), std::hash<VoiceRelease>{}(noDirectory));

    std::unordered_set<VoiceRelease> distinct(VoiceRelease::all().begin(), VoiceRelease::all().end());
    distinct.insert(pitch);
    EXPECT_EQ(distinct.size(), 6u);
}

TEST(InstalledVoiceTest, RecordsDifferingOnlyInSizeAreNotEqual) {
    const InstalledVoice before{VoiceRelease::all()[3], "en-US", "Samantha", "/c/Voices/ios6/en-US", 100};
    InstalledVoice after = before;
    after.sizeInBytes = 101;
    EXPECT_NE(before, after);
    EXPECT_NE(std::hash<InstalledVoice>{}(before), std::hash<InstalledVoice>{}(after));
    EXPECT_EQ(std::hash<InstalledVoice>{}(before), std::hash<InstalledVoice>{}(InstalledVoice(before)));
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
