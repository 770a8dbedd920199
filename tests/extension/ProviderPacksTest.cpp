// The promises about packs in the shared container: read afresh for every utterance, a pack
// that cannot be read falls back to the compact data, and pitch is handled per release.
#include <unistd.h>

#include <atomic>
#include <thread>

#include "ProviderFixture.h"
#include "store/VoiceStore.h"
#include "support/Files.h"

namespace velmora::test {
namespace fs = std::filesystem;
namespace {

using PacksTest = ProviderTest;

const std::string sentence = "This is the enhanced voice, read from the pack.";

TEST_F(PacksTest, AnInstalledPackChangesTheSamplesAtOnceAndItsRemovalBringsTheCompactVoiceBack) {
    const std::string voice = voiceId("ios5", "en-US");
    const auto compact = speak({sentence, voice});

    installPack("ios5", "en-US", "first enhanced data");
    const auto enhanced = speak({sentence, voice});
    EXPECT_GT(seconds(enhanced), 0.3);
    EXPECT_NE(enhanced, compact);
    EXPECT_EQ(speak({sentence, voice}), enhanced);

    installPack("ios5", "en-US", "second enhanced data");
    EXPECT_NE(speak({sentence, voice}), enhanced) << "the pack's data was not read afresh";

    removePack("ios5", "en-US");
    EXPECT_EQ(speak({sentence, voice}), compact);
}

TEST_F(PacksTest, APackWhoseHeaderCannotBeReadFallsBackToExactlyTheCompactSamples) {
    struct Case {
        const char* name;
        void (*damage)(const fs::path& pack);
    };
    const Case cases[] = {
        {"header at permissions 0", [](const fs::path& pack) { fs::permissions(pack / "broker.hdr", fs::perms::none); }},
        {"empty header", [](const fs::path& pack) { writeFile(pack / "broker.hdr", ""); }},
        {"binary header", [](const fs::path& pack) { writeFile(pack / "broker.hdr", std::string("\0\xff\x01<voi\xfe", 9)); }},
        {"header naming no voice", [](const fs::path& pack) { writeFile(pack / "broker.hdr", "<voice>  </voice>"); }},
        {"huge header", [](const fs::path& pack) {
             writeFile(pack / "broker.hdr", "<voice>Samantha</voice>" + std::string(3 << 20, ' '));
         }},
        {"header is a folder", [](const fs::path& pack) {
             fs::remove(pack / "broker.hdr");
             fs::create_directory(pack / "broker.hdr");
         }},
        {"no header", [](const fs::path& pack) { fs::remove(pack / "broker.hdr"); }},
        {"unreadable voice data", [](const fs::path& pack) { fs::permissions(pack / "voice.dat", fs::perms::none); }},
    };
    const std::string voice = voiceId("ios6", "en-US");
    const auto compact = speak({sentence, voice});
    for (const auto& testCase : cases) {
        const fs::path pack = installPack("ios6", "en-US");
        ASSERT_NE(speak({sentence, voice}), compact) << "the intact pack is not spoken from";
        testCase.damage(pack);
        EXPECT_EQ(speak({sentence, voice}), compact) << testCase.name;
        std::error_code ignored;
        fs::permissions(pack / "voice.dat", fs::perms::owner_read | fs::perms::owner_write, ignored);
        fs::permissions(pack / "broker.hdr", fs::perms::owner_all, ignored);
        fs::remove_all(pack);
    }
}

TEST_F(PacksTest, APitchChangeIsSpokenFromCompactDataUnlessTheEnhancedEngineTakesPitch) {
    for (const std::string releaseName : {"ios5", "ios6", "ios7"}) {
        SCOPED_TRACE(releaseName);
        const std::string voice = voiceId(releaseName, "en-US");
        const auto compactNormal = speak({sentence, voice});
        const auto compactPitched = speak({sentence, voice, 1.4});
        EXPECT_NE(compactPitched, compactNormal) << "pitch 1.4 changed nothing";

        installPack(releaseName, "en-US");
        const auto enhancedPitched = speak({sentence, voice, 1.4});
        EXPECT_NE(speak({sentence, voice}), compactNormal) << "the pack is not spoken from at pitch 1.0";
        EXPECT_EQ(enhancedPitched == compactPitched, !release(releaseName).enhancedTakesPitch);
        removePack(releaseName, "en-US");
    }
}

TEST_F(PacksTest, APackFolderThatComesAndGoesWhileSpeakingGivesEitherWholeVoice) {
    const std::string voice = voiceId("ios7", "en-US");
    const auto compact = speak({sentence, voice});
    const fs::path pack = installPack("ios7", "en-US");
    const auto enhanced = speak({sentence, voice});
    const fs::path aside = pack.string() + ".aside";

    std::atomic<bool> done = false;
    std::jthread mover([&] {
        std::error_code ignored;
        while (!done) {
            fs::rename(pack, aside, ignored);
            fs::rename(aside, pack, ignored);
        }
    });
    for (int i = 0; i < 12; ++i) {
        const auto samples = speak({sentence, voice});
        EXPECT_TRUE(samples == compact || samples == enhanced) << "utterance " << i << " mixes voices";
    }
    done = true;
    mover.join();
    if (fs::exists(aside)) fs::rename(aside, pack);
}

}  // namespace
}  // namespace velmora::test
