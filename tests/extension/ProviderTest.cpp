// The reference provider as a client sees it, on a private session bus that activates it from
// the build tree: its voices, the promises about packs in the container it shares with this
// test, and the requests it must survive.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sdbus-c++/sdbus-c++.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <future>
#include <map>
#include <set>
#include <thread>

#include "speech/PipeReader.h"
#include "speech/SpielBus.h"
#include "store/BrokerHeader.h"
#include "store/VoiceStore.h"
#include "support/Files.h"

namespace velmora::test {
namespace fs = std::filesystem;
namespace {

using Samples = std::vector<std::int16_t>;

constexpr const char* providerBus = "com.tarvenholt.Velmora.Speech.Provider";
constexpr std::chrono::seconds streamLimit{30};
const fs::path resources = fs::path(VELMORA_APPEX_DIR) / "Resources";

SpielBus& bus() {
    static const auto session = SpielBus::connectToSession();
    return *session;
}

const std::vector<ProviderVoice>& listedVoices() {
    static const auto listed = bus().voicesOf({providerBus}, streamLimit);
    return listed;
}

std::string voiceId(const std::string& release, const std::string& locale) {
    const std::string prefix = "com.tarvenholt.Velmora.voice." + release + "." + locale + ".";
    for (const auto& voice : listedVoices()) {
        if (voice.voice.identifier.starts_with(prefix)) return voice.voice.identifier;
    }
    throw std::invalid_argument("no voice listed for " + release + "/" + locale);
}

// Sends a Synthesize call; its stream arrives on the returned read end.
std::pair<UniqueFd, std::shared_ptr<SynthesisReply>> startSpeaking(SynthesisRequest request) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    UniqueFd readEnd(ends[0]);
    // The call sends a copy of the write end, so the stream ends when the provider closes it.
    const UniqueFd writeEnd(ends[1]);
    request.busName = providerBus;
    auto reply = bus().synthesize(request, writeEnd.get(), streamLimit);
    return {std::move(readEnd), std::move(reply)};
}

// The raw S16LE samples of a stream, or absent when it stalled.
std::optional<Samples> readToEnd(UniqueFd readEnd) {
    PipeReader reader(std::move(readEnd), {}, streamLimit);
    std::vector<std::byte> bytes, buffer(16384);
    auto event = PipeReader::Event::data;
    for (std::size_t count = 0; event == PipeReader::Event::data;) {
        event = reader.read(buffer, count);
        bytes.insert(bytes.end(), buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(count));
    }
    if (event != PipeReader::Event::endOfFile) return std::nullopt;
    Samples samples(bytes.size() / 2);
    if (!samples.empty()) std::memcpy(samples.data(), bytes.data(), samples.size() * 2);
    return samples;
}

Samples speak(const std::string& text, const std::string& voice, double pitch = 1.0, double rate = 1.0,
              bool ssml = false) {
    auto samples = readToEnd(startSpeaking({{}, text, voice, pitch, rate, ssml, {}}).first);
    EXPECT_TRUE(samples.has_value()) << "the stream for \"" << text << "\" did not end";
    return samples.value_or(Samples{});
}

double seconds(const Samples& samples) { return static_cast<double>(samples.size()) / 22050.0; }

// A pack, replacing any earlier one, whose header names a voice and whose voice data is `data`.
fs::path installPack(const std::string& release, const std::string& locale,
                     const std::string& data = "pack data") {
    auto pack = VoiceStore::directory(*VoiceRelease::named(release), locale);
    if (!pack) throw std::runtime_error("no shared container");
    fs::remove_all(*pack);
    writeFile(*pack / VoiceStore::headerName, brokerHeader("Samantha"));
    writeFile(*pack / "voice.dat", data);
    return *pack;
}

// Each test leaves the shared container empty.
class ProviderTest : public ::testing::Test {
protected:
    ~ProviderTest() override {
        std::error_code ignored;
        fs::remove_all(std::getenv("VELMORA_APP_GROUPS_ROOT"), ignored);
    }
};

const std::string sentence = "This is the enhanced voice, read from the pack.";

TEST_F(ProviderTest, ListsEveryCompactVoiceWithItsIdentifierNameAndFormat) {
    auto connection = sdbus::createSessionBusConnection();
    auto provider = sdbus::createProxy(*connection, providerBus, SpielBus::objectPath(providerBus));
    EXPECT_EQ(provider->getProperty("Name").onInterface(SpielBus::providerInterface).get<std::string>(),
              "Velmora Voice");

    std::size_t onDisk = 0;
    for (const auto& release : VoiceRelease::all()) {
        const fs::path base = release.directory ? resources / *release.directory : resources;
        int locales = 0;
        for (const auto& entry : fs::directory_iterator(base / "TTSResources")) {
            const std::string locale = entry.path().filename().string();
            const auto header = readLatin1File(entry.path() / VoiceStore::headerName);
            const auto name = VoiceStore::brokerTag("voice", header.value_or(""));
            ASSERT_TRUE(name) << release.name << "/" << locale;
            const std::string id =
                "com.tarvenholt.Velmora.voice." + release.name + "." + locale + "." + *name;
            auto voice =
                std::ranges::find_if(listedVoices(), [&](auto& v) { return v.voice.identifier == id; });
            ASSERT_NE(voice, listedVoices().end()) << id;
            EXPECT_EQ(voice->voice.name, *name + " (" + release.label + ")");
            EXPECT_EQ(voice->languages, std::vector<std::string>{locale});
            EXPECT_EQ(voice->outputFormat, "audio/x-raw,format=S16LE,channels=1,rate=22050");
            ++locales;
        }
        EXPECT_GE(locales, 5) << release.name;
        onDisk += static_cast<std::size_t>(locales);
    }
    EXPECT_EQ(listedVoices().size(), onDisk);
    EXPECT_EQ(voiceId("ios4", "en-US"), "com.tarvenholt.Velmora.voice.ios4.en-US.Samantha");
    EXPECT_NO_THROW(voiceId("ios7", "en-US"));
}

// Every voice speaks an utterance the same each time, alone or among many requests at once,
// and apart from the others. Among the requests at once are clients that read a little of a
// long utterance and close their pipe: the provider stops those and lives on.
TEST_F(ProviderTest, VoicesSpeakTheSameEveryTimeEvenAtOnceAndSoundApart) {
    const std::vector<std::string> voices{
        voiceId("ios3", "en-US"), voiceId("ios4", "en-US"), voiceId("ios5", "en-US"),
        voiceId("ios6", "en-US"), voiceId("ios7", "en-US"), voiceId("ios4", "fr-FR"),
        voiceId("ios5", "de-DE"), voiceId("ios6", "ja-JP"), voiceId("ios7", "zh-HK")};
    const std::string text = "The quick brown fox jumps over the lazy dog.";
    std::vector<Samples> references;
    for (const auto& voice : voices) {
        references.push_back(speak(text, voice));
        ASSERT_GT(seconds(references.back()), 1.0) << voice;
        EXPECT_GT(*std::ranges::max_element(references.back()), 1600) << voice << " is next to silent";
        EXPECT_EQ(speak(text, voice), references.back()) << voice;
    }
    EXPECT_EQ(std::set<Samples>(references.begin(), references.end()).size(), voices.size());

    std::vector<std::future<std::optional<Samples>>> streams;
    for (const auto& voice : voices) {
        for (int copy = 0; copy < 2; ++copy) {
            streams.push_back(std::async(std::launch::async, readToEnd,
                                         startSpeaking({{}, text, voice, 1, 1, false, {}}).first));
        }
        const auto early =
            startSpeaking({{}, std::string(400, 'x') + " fills the pipe.", voice, 1, 1, false, {}}).first;
        char some[512];
        EXPECT_GT(::read(early.get(), some, sizeof some), 0);
    }
    for (std::size_t i = 0; i < streams.size(); ++i) {
        EXPECT_EQ(streams[i].get(), references[i / 2]) << voices[i / 2];
    }
}

TEST_F(ProviderTest, RateChangesHowLongTheUtteranceTakesAndOddValuesCountAsNormal) {
    const std::string voice = voiceId("ios4", "en-US");
    const std::string text = "Settings, General, Accessibility.";
    const auto normal = speak(text, voice);
    EXPECT_LT(seconds(speak(text, voice, 1.0, 2.0)), seconds(normal) * 0.75);
    EXPECT_GT(seconds(speak(text, voice, 1.0, 0.5)), seconds(normal) * 1.4);
    EXPECT_EQ(speak(text, voice, std::nan(""), -3.0), normal);
    EXPECT_GT(seconds(speak(text, voice, 1e300, 1e300)), 0.1);
}

TEST_F(ProviderTest, RulesMakeWrittenAndSpokenFormsSoundAlikeInTextAndSsml) {
    const std::pair<const char*, const char*> pairs[] = {
        {"Mac OS X", "Mac OS ten "},
        {"Panic! At the Disco", "Panic At the Disco"},
        {"Update iOS today", "Update I O S today"},
        {"ios", "I O S"},
        {"<speak>Update iOS today</speak>", "<speak>Update I O S today</speak>"},
    };
    const std::string voice = voiceId("ios4", "en-US");
    for (const auto& [written, spoken] : pairs) {
        const bool ssml = written[0] == '<';
        const auto samples = speak(written, voice, 1.0, 1.0, ssml);
        EXPECT_GT(seconds(samples), 0.3) << written;
        EXPECT_EQ(samples, speak(spoken, voice, 1.0, 1.0, ssml)) << written;
    }
    // Markup reaches the engine as markup.
    const auto withBreak = speak("<speak>Hello<break time=\"1.5s\"/>world</speak>", voice, 1.0, 1.0, true);
    EXPECT_GT(seconds(withBreak), seconds(speak("<speak>Hello world</speak>", voice, 1.0, 1.0, true)) + 0.5);
}

TEST_F(ProviderTest, AnInstalledPackChangesTheSamplesAtOnceAndItsRemovalBringsTheCompactVoiceBack) {
    const std::string voice = voiceId("ios5", "en-US");
    const auto compact = speak(sentence, voice);

    const fs::path pack = installPack("ios5", "en-US", "first pack data");
    const auto enhanced = speak(sentence, voice);
    EXPECT_GT(seconds(enhanced), 0.3);
    EXPECT_NE(enhanced, compact);
    EXPECT_EQ(speak(sentence, voice), enhanced);

    installPack("ios5", "en-US", "second pack data");
    EXPECT_NE(speak(sentence, voice), enhanced) << "the pack's data was not read afresh";

    fs::remove_all(pack);
    EXPECT_EQ(speak(sentence, voice), compact);
}

TEST_F(ProviderTest, APackWhoseHeaderCannotBeReadFallsBackToExactlyTheCompactSamples) {
    struct Case {
        const char* name;
        void (*damage)(const fs::path& header);
    };
    const Case cases[] = {
        {"header at permissions 0", [](auto& header) { fs::permissions(header, fs::perms::none); }},
        {"empty header", [](auto& header) { writeFile(header, ""); }},
        {"binary header", [](auto& header) { writeFile(header, std::string("\0\xff\x01<voi\xfe", 9)); }},
        {"header naming no voice", [](auto& header) { writeFile(header, "<voice>  </voice>"); }},
        {"huge header",
         [](auto& header) { writeFile(header, brokerHeader("Samantha") + std::string(3 << 20, ' ')); }},
        {"header is a folder", [](auto& header) { fs::remove(header) && fs::create_directory(header); }},
        {"no header", [](auto& header) { fs::remove(header); }},
        {"unreadable voice data",
         [](auto& header) { fs::permissions(header.parent_path() / "voice.dat", fs::perms::none); }},
    };
    const std::string voice = voiceId("ios6", "en-US");
    const auto compact = speak(sentence, voice);
    for (const auto& testCase : cases) {
        const fs::path pack = installPack("ios6", "en-US");
        ASSERT_NE(speak(sentence, voice), compact) << "the intact pack is not spoken from";
        testCase.damage(pack / "broker.hdr");
        EXPECT_EQ(speak(sentence, voice), compact) << testCase.name;
    }
}

TEST_F(ProviderTest, APitchChangeIsSpokenFromCompactDataUnlessTheEnhancedEngineTakesPitch) {
    for (const std::string release : {"ios5", "ios6", "ios7"}) {
        SCOPED_TRACE(release);
        const std::string voice = voiceId(release, "en-US");
        const auto compactNormal = speak(sentence, voice);
        const auto compactPitched = speak(sentence, voice, 1.4);
        EXPECT_NE(compactPitched, compactNormal) << "pitch 1.4 changed nothing";

        const fs::path pack = installPack(release, "en-US");
        EXPECT_NE(speak(sentence, voice), compactNormal) << "the pack is not spoken from at pitch 1.0";
        EXPECT_EQ(speak(sentence, voice, 1.4) == compactPitched,
                  !VoiceRelease::named(release)->enhancedTakesPitch);
        fs::remove_all(pack);
    }
}

TEST_F(ProviderTest, APackFolderThatComesAndGoesWhileSpeakingGivesEitherWholeVoice) {
    const std::string voice = voiceId("ios7", "en-US");
    const auto compact = speak(sentence, voice);
    const fs::path pack = installPack("ios7", "en-US");
    const auto enhanced = speak(sentence, voice);
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
        const auto samples = speak(sentence, voice);
        EXPECT_TRUE(samples == compact || samples == enhanced) << "utterance " << i << " mixes voices";
    }
    done = true;
}

TEST_F(ProviderTest, BadInputEndsInAudioOrAClosedStream) {
    struct Case {
        const char* name;
        std::string text;
        bool ssml = false;
        std::string rules = "";  // "user_rules.txt" of the pack it is spoken from
    };
    const Case cases[] = {
        {"empty text", ""},
        {"unclosed SSML", "<speak><s>Hello <break", true},
        {"SSML without a speak root", "<p>Hello</p></speak></speak>", true},
        {"SSML with unknown elements",
         "<speak><blink rate=\"x\">Hi</blink><prosody pitch=\"+900%\">hi</prosody></speak>", true},
        {"SSML with a bad entity", "<speak>&nosuch; &#xFFFFFFFF; hi</speak>", true},
        {"control characters", "\x01\x02\x1b[31m\x7f bell\a"},
        {"long text", std::string(200, 'a') + " " + std::string(3000, ' ') + "end."},
        {"rules: binary", "Hello a world", false, std::string("\0\xff\t\x01\n\xfe\xfe\t\n", 9)},
        {"rules: one that empties the text", "Hello", false, "Hello\t\n"},
        {"rules: ones that grow the text", "Hello a world", false,
         "a\taaaaaaaaaaaaaaaa\naaaa\taaaaaaaaaaaaaaaa\n"},
        {"rules: a very long line", "Hello a world", false, std::string(500000, 'x') + "\ty\n"},
    };
    const std::string voice = voiceId("ios5", "fr-FR");
    for (const auto& testCase : cases) {
        SCOPED_TRACE(testCase.name);
        writeFile(installPack("ios5", "fr-FR") / "user_rules.txt", testCase.rules);
        speak(testCase.text, voice, 1.0, 1.0, testCase.ssml);
    }

    auto [pipe, reply] =
        startSpeaking({{}, "Hello", "com.tarvenholt.Velmora.voice.ios9.xx-XX.Nobody", 1, 1, false, {}});
    EXPECT_TRUE(readToEnd(std::move(pipe)).has_value()) << "unknown voice";
    ASSERT_TRUE(reply->wait(streamLimit, {}));
    EXPECT_TRUE(reply->error().value_or("").starts_with(
        "com.tarvenholt.Velmora.Speech.Provider.Error.UnknownVoice:"));
}

}  // namespace
}  // namespace velmora::test

// The provider that the bus activates shares a container of this test's own. This process
// resolves it through the provider's own entitlements, so both find the same folder.
int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    const velmora::test::TempDir world;
    ::setenv("VELMORA_ENTITLEMENTS", (velmora::test::resources / "velmora.entitlements").c_str(), 1);
    const std::map<std::string, std::string> shared{
        {"VELMORA_APP_GROUPS_ROOT", (world / "app-groups").string()},
        {"XDG_DATA_HOME", (world / "data").string()}};
    for (const auto& [name, value] : shared) ::setenv(name.c_str(), value.c_str(), 1);
    auto connection = sdbus::createSessionBusConnection();
    sdbus::createProxy(*connection, "org.freedesktop.DBus", "/org/freedesktop/DBus")
        ->callMethod("UpdateActivationEnvironment")
        .onInterface("org.freedesktop.DBus")
        .withArguments(shared);
    return RUN_ALL_TESTS();
}
