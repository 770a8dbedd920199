// The enhanced self test against a fake catalog, a fake install and a fake engine that speaks
// like the extension: from the pack while it is in place and readable, else from compact data.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>

#include "selftest/EnhancedSelfTest.h"
#include "selftest/FakeServices.h"
#include "store/VoiceStore.h"
#include "support/Files.h"
#include "support/TestWorld.h"

namespace velmora::test {
namespace {
namespace fs = std::filesystem;

fs::path container() { return TestWorld::container("group.test.selftest"); }
fs::path pack(const std::string& id) { return container() / "Voices" / id; }

// A pack as an install leaves it: its header readable by its owner and group only.
std::int64_t writePack(const std::string& id, bool withDictionaries = true) {
    writeFile(pack(id) / "broker.hdr", brokerHeader("Samantha"));
    writeFile(pack(id) / "voice.dat", std::string(600'000, 'v'));
    ::chmod((pack(id) / "broker.hdr").c_str(), 0640);
    const auto release = *VoiceRelease::named(id.substr(0, 4));
    if (withDictionaries) VoiceStore::addDictionaries(release, id.substr(5));
    return 2'400'000;
}

EnhancedVoice catalogVoice(const std::string& release, const std::string& locale, std::int64_t size) {
    return {*VoiceRelease::named(release),       locale, size, 4 * size,
            "https://example.invalid/" + locale, {},     "1"};
}

// How the fake engine misbehaves, if at all.
struct EngineFaults {
    std::optional<bool> pitchFromPack;  // whether a pitch change is spoken from the pack; by default
                                        // only for the release whose enhanced engine takes pitch
    bool readsLockedPack = false;       // reads a pack whose header has no permissions
    bool silentWhenLocked = false;
    bool silentFromPack = false;
    bool ignoresPacks = false;
};

struct EnhancedFake {
    EngineFaults faults;
    std::vector<EnhancedVoice> catalog{catalogVoice("ios7", "en-US", 3'000'000),
                                       catalogVoice("ios6", "de-DE", 2'000'000),
                                       catalogVoice("ios5", "en-US", 2'000'000)};
    std::function<std::vector<EnhancedVoice>()> fetch = [this] { return catalog; };
    std::function<std::int64_t(const EnhancedVoice&)> install = [](const EnhancedVoice& voice) {
        return writePack(voice.id());
    };
    FakeServices speech{
        [this](const RenderRequest& r) { return speak(r); },
        {voice("com.tarvenholt.Velmora.voice.ios5.en-US.Samantha", "Samantha (iOS 5)", "en-US"),
         voice("com.tarvenholt.Velmora.voice.ios7.en-US.Samantha", "Samantha (iOS 7)", "en-US")}};
    int installs = 0;

    RenderResult speak(const RenderRequest& r) const {
        const std::string id = r.voice.substr(r.voice.find(".voice.") + 7, 10);  // "ios5.en-US"
        const fs::path folder = pack(id.substr(0, 4) + "/" + id.substr(5));
        const bool locked = permissions(folder / "broker.hdr") == 0;
        const bool pitched = r.pitch != 1.0f;
        const bool takesPitch = faults.pitchFromPack.value_or(id.starts_with("ios7"));
        const bool fromPack = !faults.ignoresPacks && fs::exists(folder) &&
                              (!locked || faults.readsLockedPack) && (!pitched || takesPitch);
        if ((locked && faults.silentWhenLocked) || (fromPack && faults.silentFromPack)) return {};
        return {2.0, 0.5f, 0.1, (fromPack ? 200u : 100u) + (pitched ? 1u : 0u)};
    }

    std::vector<std::string> run(const std::vector<std::string>& arguments) {
        EnhancedSelfTestServices services{speech.services(), fetch, [this](const EnhancedVoice& voice) {
                                              ++installs;
                                              return install(voice);
                                          }};
        EnhancedSelfTest::run(arguments, services);
        return speech.lines;
    }
};

class EnhancedSuiteTest : public ::testing::Test {
protected:
    ~EnhancedSuiteTest() override { fs::remove_all(container() / "Voices"); }
};

TEST_F(EnhancedSuiteTest, EveryLineOfAPassingRunAndThePackLeftAsItWas) {
    EnhancedFake fake;
    const auto lines = fake.run({"velmora", "-enhanced-voice", "ios5/en-US"});
    EXPECT_EQ(joinLines(lines, {{container().string(), "{container}"}}),
              readFile(expectedOutput("selftest", "enhanced-suite.txt")));
    EXPECT_EQ(permissions(pack("ios5/en-US") / "broker.hdr"), 0640u);
    EXPECT_FALSE(fs::exists(pack("ios5/en-US.aside")));
    EXPECT_EQ(fake.speech.synthesizers, 1);
}

// Row helpers: how a case changes the fake before its run.
using Arrange = std::function<void(EnhancedFake&)>;
Arrange pitchFromPack(bool fromPack) {
    return [fromPack](EnhancedFake& f) { f.faults.pitchFromPack = fromPack; };
}
Arrange fault(bool EngineFaults::*which) {
    return [which](EnhancedFake& f) { f.faults.*which = true; };
}
template <typename Answer>
Arrange installs(Answer answer) {
    return [answer](EnhancedFake& f) { f.install = answer; };
}
[[noreturn]] std::int64_t checksumFails(const EnhancedVoice&) {
    throw std::runtime_error("The download did not match the checksum Apple published.");
}
std::int64_t dictionaryShort(const EnhancedVoice& voice) {
    const auto size = writePack(voice.id());
    fs::remove(pack(voice.id()) / "en_userdct.dat");
    return size;
}
[[noreturn]] std::vector<EnhancedVoice> catalogMissing() {
    throw std::runtime_error("Apple's voice catalog answered with HTTP 404.");
}

// Each verdict a run can reach: one that ends the run is its last line and comes before any
// render; one that the run goes on after shows once among the run's twelve lines.
TEST_F(EnhancedSuiteTest, EachVerdictAndWhereTheRunEnds) {
    const std::string pitch =
        "ENHANCED PASS pitch: iOS 5 cannot pitch its enhanced data, so a pitch change is "
        "spoken from the compact data";
    const Arrange none = [](EnhancedFake&) {};
    const struct {
        const char* name;
        const char* voice;
        Arrange arrange;
        bool ends;
        std::string line;
    } cases[] = {
        // clang-format off
        {"iOS 5 pitch from compact data", "ios5/en-US", pitchFromPack(false), false, pitch},
        {"iOS 5 pitch from the pack", "ios5/en-US", pitchFromPack(true), false,
         "ENHANCED FAIL pitch: iOS 5 did not fall back to the compact data for a pitch change"},
        {"iOS 7 pitch from compact data", "ios7/en-US", pitchFromPack(false), false,
         "ENHANCED FAIL pitch: iOS 7 should shift pitch on the enhanced data, but it fell back to the compact data"},
        {"iOS 7 pitch from the pack", "ios7/en-US", pitchFromPack(true), false,
         "ENHANCED PASS pitch: iOS 7 shifts pitch on the enhanced data, as its engine does"},
        {"catalog fails", "", [](EnhancedFake& f) { f.fetch = catalogMissing; }, true,
         "ENHANCED FAIL catalog: Apple's voice catalog answered with HTTP 404."},
        {"no catalog voice is the one asked for", "ios6/fr-FR", none, true, "ENHANCED FAIL catalog held no voices"},
        {"install fails", "ios5/en-US", installs(checksumFails), true,
         "ENHANCED FAIL install: The download did not match the checksum Apple published."},
        {"install leaves no pack", "ios5/en-US", installs([](const EnhancedVoice&) { return std::int64_t{1}; }), true,
         "ENHANCED FAIL the installed voice is not in the shared container"},
        {"the system does not list the voice", "ios5/en-US", [](EnhancedFake& f) { f.speech.voices.clear(); }, true,
         "ENHANCED FAIL the system does not list Samantha (iOS 5)"},
        {"another pack lacks its dictionaries", "ios5/en-US", [](EnhancedFake&) { writePack("ios7/en-US", false); },
         false, "ENHANCED FAIL dictionaries: 1 of 1 packs are short — ios7/en-US"},
        {"the install brings a dictionary short", "ios5/en-US", installs(dictionaryShort), false,
         "ENHANCED FAIL pronunciations: the pack is missing en_userdct.dat"},
        {"the engine reads an unreadable pack", "ios5/en-US", fault(&EngineFaults::readsLockedPack), false,
         "ENHANCED FAIL unreadable: spoke, but not from the compact data"},
        {"the engine goes silent", "ios5/en-US", fault(&EngineFaults::silentWhenLocked), false,
         "ENHANCED FAIL unreadable: the voice went silent when the pack could not be read"},
        {"the pack is silent", "ios5/en-US", fault(&EngineFaults::silentFromPack), false,
         "ENHANCED FAIL spoke 0.00s of audio, peak 0.00"},
        {"the engine never reads packs", "ios5/en-US", fault(&EngineFaults::ignoresPacks), false,
         "ENHANCED FAIL immediate: the voice sounds the same with the pack and without"},
        // clang-format on
    };
    for (const auto& c : cases) {
        EnhancedFake fake;
        c.arrange(fake);
        const auto lines = fake.run(*c.voice ? std::vector<std::string>{"-enhanced-voice", c.voice}
                                             : std::vector<std::string>{});
        if (c.ends) {
            EXPECT_EQ(lines.back(), c.line) << c.name;
            EXPECT_TRUE(fake.speech.requests.empty()) << c.name;
        } else {
            EXPECT_EQ(std::ranges::count(lines, c.line), 1) << c.name << ::testing::PrintToString(lines);
            EXPECT_EQ(lines.size(), 12u) << c.name;
        }
        fs::remove_all(container() / "Voices");
    }
}

TEST_F(EnhancedSuiteTest, OptionsChooseTheSubjectAndTheRemovals) {
    // The flag without a value: every catalog voice is a candidate, the first of the two smallest wins.
    EnhancedFake last;
    auto lines = last.run({"-enhanced-remove", "-enhanced-voice"});
    EXPECT_EQ(std::vector(lines.begin() + 3, lines.end()),
              (std::vector<std::string>{"ENHANCED subject iOS 6 de-DE (2 MB)",
                                        "ENHANCED remove: ios6/de-DE is not installed"}));

    writePack("ios5/en-US");
    writePack("ios7/en-US");
    EnhancedFake both;
    lines = both.run({"-enhanced-remove", "-enhanced-voice", "ios5/en-US", "-enhanced-remove-all"});
    EXPECT_EQ(std::vector(lines.begin() + 3, lines.end()),
              (std::vector<std::string>{"ENHANCED subject iOS 5 en-US (2 MB)",
                                        "ENHANCED PASS delete all: removed 2 packs, none left"}));
    EXPECT_TRUE(VoiceStore::installed().empty());

    writePack("ios7/en-US");
    EnhancedFake installed;
    lines = installed.run({"-enhanced-voice", "ios7/en-US"});
    EXPECT_EQ(installed.installs, 0);
    EXPECT_EQ(lines[4], "ENHANCED already installed, skipping the download");
    EXPECT_EQ(lines.back(),
              "ENHANCED PASS pitch: iOS 7 shifts pitch on the enhanced data, as its engine does");
}

TEST_F(EnhancedSuiteTest, ARunFirstRepairsWhatAKilledRunLeft) {
    writePack("ios5/en-US", false);
    fs::rename(pack("ios5/en-US"), pack("ios5/en-US.aside"));
    writePack("ios7/en-US", false);
    ::chmod((pack("ios7/en-US") / "broker.hdr").c_str(), 0);
    writePack("ios7/en-GB", false);
    writeFile(pack("ios7/en-GB.aside") / "broker.hdr", "stale");  // the pack is there: left alone

    EnhancedFake fake;
    fake.fetch = []() -> std::vector<EnhancedVoice> { throw std::runtime_error("offline"); };
    const auto lines = fake.run({});
    EXPECT_EQ(lines[1], "ENHANCED FAIL dictionaries: 2 of 3 packs are short — ios5/en-US, ios7/en-US");
    EXPECT_EQ(lines.back(), "ENHANCED FAIL catalog: offline");
    EXPECT_FALSE(fs::exists(pack("ios5/en-US.aside")));
    EXPECT_EQ(permissions(pack("ios7/en-US") / "broker.hdr"), 0644u);
    EXPECT_EQ(readFile(pack("ios7/en-GB.aside") / "broker.hdr"), "stale");
}

}  // namespace
}  // namespace velmora::test

// Entitles the process and writes this bundle's compact data, once.
int main(int argc, char** argv) {
    using namespace velmora::test;
    TestWorld::entitle("group.test.selftest");
    CompactFiles compact;
    for (const std::string release : {"ios5", "ios7"}) {
        compact.emplace_back(release + "/TTSResources/en-US/broker.hdr", brokerHeader("Samantha"));
        compact.emplace_back(release + "/TTSResources/en-US/user_rules.txt", "Mac OS X\tMac OS ten\n");
        compact.emplace_back(release + "/TTSResources/en-US/en_userdct.dat", "Dr.\tDoctor\n");
    }
    TestWorld::writeCompactData(compact);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
