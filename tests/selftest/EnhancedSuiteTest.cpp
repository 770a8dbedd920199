// The enhanced self test against a fake catalog, a fake install and a fake engine that speaks
// like the extension: from the pack while it is in place and readable, else from compact data.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>

#include "selftest/EnhancedSelfTest.h"
#include "selftest/FakeServices.h"
#include "store/Bundle.h"
#include "store/VoiceStore.h"
#include "support/Entitlement.h"
#include "support/Files.h"

namespace velmora::test {
namespace {
namespace fs = std::filesystem;

const fs::path& world() {
    static const TempDir dir;
    return dir.path();
}
fs::path container() { return world() / "app-groups/group.test.selftest"; }
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
    const std::vector<std::string> expected{
        "ENHANCED container " + container().string(),
        "ENHANCED PASS dictionaries: all 0 installed packs carry everything their compact voice has",
        "ENHANCED PASS catalog: 3 voices (ios5: 1, ios6: 1, ios7: 1)",
        "ENHANCED subject iOS 5 en-US (2 MB)",
        "ENHANCED PASS downloaded, verified and installed 2 MB in 0s",
        "ENHANCED PASS on disk as Samantha, en-US, 1 MB",
        "ENHANCED PASS pronunciations: en_userdct.dat, user_rules.txt in the pack",
        "ENHANCED PASS system lists it as Samantha (iOS 5)",
        "ENHANCED PASS unreadable: a pack that cannot be read falls back to the compact voice "
        "instead of going silent",
        "ENHANCED PASS spoke 2.00s of audio, peak 0.50",
        "ENHANCED PASS immediate: the voice speaks from the pack as soon as it is installed, "
        "with no reinstall",
        "ENHANCED PASS pitch: iOS 5 cannot pitch its enhanced data, "
        "so a pitch change is spoken from the compact data"};
    EXPECT_EQ(fake.run({"velmora", "-enhanced-voice", "ios5/en-US"}), expected);
    std::vector<float> pitches;
    for (const auto& r : fake.speech.requests) pitches.push_back(r.pitch);
    EXPECT_EQ(pitches, (std::vector<float>{1.0f, 1.4f, 1.0f, 1.0f, 1.4f}));
    EXPECT_EQ(permissions(pack("ios5/en-US") / "broker.hdr"), 0640u);
    EXPECT_FALSE(fs::exists(pack("ios5/en-US.aside")));
    EXPECT_EQ(fake.speech.synthesizers, 1);
}

TEST_F(EnhancedSuiteTest, PitchVerdictFollowsTheReleaseAndTheEngine) {
    const struct {
        const char* voice;
        bool pitchFromPack;
        std::string line;
    } rows[] = {
        {"ios5/en-US", false,
         "ENHANCED PASS pitch: iOS 5 cannot pitch its enhanced data, "
         "so a pitch change is spoken from the compact data"},
        {"ios5/en-US", true,
         "ENHANCED FAIL pitch: iOS 5 did not fall back to the compact data for a pitch change"},
        {"ios7/en-US", false,
         "ENHANCED FAIL pitch: iOS 7 should shift pitch on the enhanced data, but it fell back to the "
         "compact data"},
        {"ios7/en-US", true,
         "ENHANCED PASS pitch: iOS 7 shifts pitch on the enhanced data, as its engine does"},
    };
    for (const auto& row : rows) {
        EnhancedFake fake{{.pitchFromPack = row.pitchFromPack}};
        const auto lines = fake.run({"-enhanced-voice", row.voice});
        EXPECT_EQ(lines.back(), row.line);
        fs::remove_all(container() / "Voices");
    }
}

TEST_F(EnhancedSuiteTest, FailuresThatEndTheRun) {
    const struct {
        const char* name;
        std::vector<std::string> arguments;
        std::function<void(EnhancedFake&)> arrange;
        std::string lastLine;
    } cases[] = {
        {"catalog fails",
         {},
         [](EnhancedFake& f) {
             f.fetch = []() -> std::vector<EnhancedVoice> {
                 throw std::runtime_error("Apple's voice catalog answered with HTTP 404.");
             };
         },
         "ENHANCED FAIL catalog: Apple's voice catalog answered with HTTP 404."},
        {"no catalog voice is the one asked for",
         {"-enhanced-voice", "ios6/fr-FR"},
         nullptr,
         "ENHANCED FAIL catalog held no voices"},
        {"install fails",
         {"-enhanced-voice", "ios5/en-US"},
         [](EnhancedFake& f) {
             f.install = [](const EnhancedVoice&) -> std::int64_t {
                 throw std::runtime_error("The download did not match the checksum Apple published.");
             };
         },
         "ENHANCED FAIL install: The download did not match the checksum Apple published."},
        {"install leaves no pack",
         {"-enhanced-voice", "ios5/en-US"},
         [](EnhancedFake& f) { f.install = [](const EnhancedVoice&) { return std::int64_t{1}; }; },
         "ENHANCED FAIL the installed voice is not in the shared container"},
        {"the system does not list the voice",
         {"-enhanced-voice", "ios5/en-US"},
         [](EnhancedFake& f) { f.speech.voices.clear(); },
         "ENHANCED FAIL the system does not list Samantha (iOS 5)"},
    };
    for (const auto& c : cases) {
        EnhancedFake fake;
        if (c.arrange) c.arrange(fake);
        const auto lines = fake.run(c.arguments);
        EXPECT_EQ(lines.back(), c.lastLine) << c.name;
        EXPECT_TRUE(fake.speech.requests.empty()) << c.name;
        fs::remove_all(container() / "Voices");
    }
}

TEST_F(EnhancedSuiteTest, FailuresThatTheRunGoesOnAfter) {
    const struct {
        const char* name;
        std::function<void(EnhancedFake&)> arrange;
        std::string line;
    } cases[] = {
        {"another pack lacks its dictionaries", [](EnhancedFake&) { writePack("ios7/en-US", false); },
         "ENHANCED FAIL dictionaries: 1 of 1 packs are short — ios7/en-US"},
        {"the install brings a dictionary short",
         [](EnhancedFake& f) {
             f.install = [](const EnhancedVoice& voice) {
                 const auto size = writePack(voice.id());
                 fs::remove(pack(voice.id()) / "en_userdct.dat");
                 return size;
             };
         },
         "ENHANCED FAIL pronunciations: the pack is missing en_userdct.dat"},
        {"the engine reads an unreadable pack", [](EnhancedFake& f) { f.faults.readsLockedPack = true; },
         "ENHANCED FAIL unreadable: spoke, but not from the compact data"},
        {"the engine goes silent", [](EnhancedFake& f) { f.faults.silentWhenLocked = true; },
         "ENHANCED FAIL unreadable: the voice went silent when the pack could not be read"},
        {"the pack is silent", [](EnhancedFake& f) { f.faults.silentFromPack = true; },
         "ENHANCED FAIL spoke 0.00s of audio, peak 0.00"},
        {"the engine never reads packs", [](EnhancedFake& f) { f.faults.ignoresPacks = true; },
         "ENHANCED FAIL immediate: the voice sounds the same with the pack and without"},
    };
    for (const auto& c : cases) {
        EnhancedFake fake;
        c.arrange(fake);
        const auto lines = fake.run({"-enhanced-voice", "ios5/en-US"});
        EXPECT_EQ(std::ranges::count(lines, c.line), 1) << c.name << ::testing::PrintToString(lines);
        EXPECT_EQ(lines.size(), 12u) << c.name;
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
    EnhancedFake removal;
    EXPECT_EQ(removal.run({"-enhanced-voice", "ios5/en-US", "-enhanced-remove"}).back(),
              "ENHANCED PASS removed ios5/en-US; the voice is back to its compact data");
    EXPECT_FALSE(fs::exists(pack("ios5/en-US")));

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
    entitleProcess(world(), "group.test.selftest");
    const auto resources = velmora::Bundle::main().folder() / "PlugIns/Fixture.appex/Resources";
    std::filesystem::remove_all(resources.parent_path());
    for (const std::string release : {"ios5", "ios7"}) {
        const auto compact = resources / release / "TTSResources/en-US";
        writeFile(compact / "broker.hdr", brokerHeader("Samantha"));
        writeFile(compact / "user_rules.txt", "Mac OS X\tMac OS ten\n");
        writeFile(compact / "en_userdct.dat", "Dr.\tDoctor\n");
    }
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
