// The reference provider as a client sees it, activated from the build tree by a private bus:
// its voices, its packs in the container it shares with this test, the requests it survives.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sdbus-c++/sdbus-c++.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <future>
#include <set>
#include <thread>

#include "speech/PipeReader.h"
#include "speech/SpielBus.h"
#include "speech/StreamParser.h"
#include "store/VoiceStore.h"
#include "support/Files.h"
#include "support/TestWorld.h"

namespace velmora::test {
namespace fs = std::filesystem;
namespace {

using Samples = std::vector<float>;

// What a stream carried: its samples and its events.
struct Spoken {
    Samples samples;
    std::vector<StreamEvent> events;
};

constexpr const char* providerBus = "com.tarvenholt.Velmora.Speech.Provider";
const std::string voicePrefix = "com.tarvenholt.Velmora.voice.";
constexpr const char* announcedFormat = "audio/x-spiel,format=S16LE,channels=1,rate=22050";
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

// The voice listed for `releaseAndLocale`, such as "ios4.en-US".
std::string voiceId(const std::string& releaseAndLocale) {
    const std::string prefix = voicePrefix + releaseAndLocale + ".";
    for (const auto& voice : listedVoices())
        if (voice.voice.identifier.starts_with(prefix)) return voice.voice.identifier;
    throw std::invalid_argument("no voice listed for " + releaseAndLocale);
}

// Sends a Synthesize call, from `client`; its stream arrives on the returned read end.
std::pair<UniqueFd, std::shared_ptr<SynthesisReply>> startSpeaking(SynthesisRequest request,
                                                                   SpielBus& client = bus()) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    UniqueFd readEnd(ends[0]);
    // The call sends a copy of the write end, so the stream ends when the provider closes it.
    const UniqueFd writeEnd(ends[1]);
    request.busName = providerBus;
    auto reply = client.synthesize(request, writeEnd.get(), streamLimit);
    return {std::move(readEnd), std::move(reply)};
}

// A whole stream in the format the voices announce, read as the speech client reads it. A stream
// that stalls or is no such stream fails the test and reads as nothing.
Spoken readSpoken(UniqueFd readEnd) {
    PipeReader reader(std::move(readEnd), {}, streamLimit);
    StreamParser parser(*StreamFormat::parse(announcedFormat));
    Spoken spoken;
    std::vector<std::byte> buffer(16384);
    auto event = PipeReader::Event::data;
    for (std::size_t count = 0; event == PipeReader::Event::data;) {
        event = reader.read(buffer, count);
        const PcmBuffer pcm = parser.feed(std::span(buffer).first(count));
        spoken.samples.insert(spoken.samples.end(), pcm.samples.begin(), pcm.samples.end());
        std::ranges::move(parser.takeEvents(), std::back_inserter(spoken.events));
    }
    const bool ok =
        event == PipeReader::Event::endOfFile && parser.finish() == StreamParser::Status::complete;
    EXPECT_TRUE(ok) << "the stream did not end well";
    return ok ? spoken : Spoken{};
}

Spoken speakWithEvents(const SynthesisRequest& request) { return readSpoken(startSpeaking(request).first); }
Samples speak(const std::string& text, const std::string& voice, double pitch = 1.0, double rate = 1.0,
              bool ssml = false, const std::string& language = {}) {
    return speakWithEvents({{}, text, voice, pitch, rate, ssml, language}).samples;
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
struct ProviderTest : ::testing::Test {
    void TearDown() override { fs::remove_all(std::getenv("VELMORA_APP_GROUPS_ROOT")); }
};

const std::string sentence = "This is the enhanced voice, read from the pack.";
const std::string fox = "The quick brown fox jumps over the lazy dog.";

TEST_F(ProviderTest, ListsEveryCompactVoiceWithItsIdentifierNameFormatFeaturesAndLanguages) {
    auto connection = sdbus::createSessionBusConnection();
    auto provider = sdbus::createProxy(*connection, providerBus, SpielBus::objectPath(providerBus));
    const auto property = [&](const char* name) {
        return provider->getProperty(name).onInterface(SpielBus::providerInterface);
    };
    EXPECT_EQ(property("Name").get<std::string>(), "Velmora Voice");
    // Word, sentence and mark events; say-as characters, break, sub, emphasis, prosody, s and p:
    // these bits of the interface's list, and no others, as a client rejects undefined ones.
    std::uint64_t honoured = 0;
    for (const int bit : {0, 1, 3, 7, 12, 13, 15, 16, 17}) honoured |= std::uint64_t{1} << bit;
    using VoiceRecord =
        sdbus::Struct<std::string, std::string, std::string, std::uint64_t, std::vector<std::string>>;
    for (const auto& record : property("Voices").get<std::vector<VoiceRecord>>())
        EXPECT_EQ(std::get<3>(record), honoured) << std::get<1>(record);

    // One voice for each header of the compact data; names carry the release, and the Chinese
    // voices also speak English.
    EXPECT_EQ(
        std::ranges::count_if(fs::recursive_directory_iterator(resources),
                              [](auto& entry) { return entry.path().filename() == VoiceStore::headerName; }),
        std::ssize(listedVoices()));
    const auto listed = [](const std::string& id, const std::string& name,
                           std::vector<std::string> languages) {
        const ProviderVoice voice{
            {voicePrefix + id, name, languages.front(), providerBus}, announcedFormat, languages};
        return std::ranges::count(listedVoices(), voice) == 1;
    };
    EXPECT_TRUE(listed("ios4.en-US.Samantha", "Samantha (iOS 4)", {"en-US"}));
    EXPECT_TRUE(listed("ios7.zh-HK.Sin-Ji", "Sin-Ji (iOS 7)", {"zh-HK", "en-US"}));
}

// Every voice speaks an utterance the same each time and apart from the others, also among many
// requests at once, some of whose clients read a little and close their pipe (the provider lives on).
TEST_F(ProviderTest, VoicesSpeakTheSameEveryTimeEvenAtOnceAndSoundApart) {
    const std::vector<std::string> voices{
        voiceId("ios3.en-US"), voiceId("ios4.en-US"), voiceId("ios5.en-US"),
        voiceId("ios6.en-US"), voiceId("ios7.en-US"), voiceId("ios4.fr-FR"),
        voiceId("ios5.de-DE"), voiceId("ios6.ja-JP"), voiceId("ios7.zh-HK")};
    std::vector<Samples> references;
    for (const auto& voice : voices) {
        references.push_back(speak(fox, voice));
        ASSERT_GT(seconds(references.back()), 1.0) << voice;
        EXPECT_GT(*std::ranges::max_element(references.back()), 0.05f) << voice << " is next to silent";
        EXPECT_EQ(speak(fox, voice), references.back()) << voice;
    }
    EXPECT_EQ(std::set<Samples>(references.begin(), references.end()).size(), voices.size());

    std::vector<std::future<Spoken>> streams;
    for (const auto& voice : voices) {
        for (int copy = 0; copy < 2; ++copy)
            streams.push_back(std::async(std::launch::async, readSpoken,
                                         startSpeaking({{}, fox, voice, 1, 1, false, {}}).first));
        const auto early =
            startSpeaking({{}, std::string(400, 'x') + " fills the pipe.", voice, 1, 1, false, {}}).first;
        char some[512];
        EXPECT_GT(::read(early.get(), some, sizeof some), 0);
    }
    for (std::size_t i = 0; i < streams.size(); ++i)
        EXPECT_EQ(streams[i].get().samples, references[i / 2]) << voices[i / 2];
}

// Over the interface's ranges (rate 0.1 to 10, pitch 0 to 2) both settings act monotonically:
// slower rates take longer until espeak-ng's slowest speed, faster ones never take longer.
TEST_F(ProviderTest, RatePitchAndLanguageActOverTheirWholeRangesAndOddValuesCountAsNormal) {
    const std::string voice = voiceId("ios4.en-US");
    const auto normal = speak(fox, voice);
    std::vector<double> durations;
    for (const double rate : {0.1, 0.5, 1.0, 2.0, 5.0, 10.0})
        durations.push_back(seconds(speak(fox, voice, 1.0, rate)));
    for (std::size_t i = 1; i < durations.size(); ++i)  // past rate 5, espeak-ng speaks no faster
        EXPECT_TRUE(i < 5 ? durations[i] < durations[i - 1] : durations[i] <= durations[i - 1]) << i;
    EXPECT_GT(durations[0], 1.8 * seconds(normal));
    EXPECT_LT(durations[4], 0.5 * seconds(normal));

    std::set<Samples> pitches;
    for (const double pitch : {0.0, 0.5, 1.0, 1.5, 2.0}) pitches.insert(speak(fox, voice, pitch));
    EXPECT_EQ(pitches.size(), 5u);
    EXPECT_EQ(speak(fox, voice, std::nan(""), -3.0), normal);

    // A bilingual voice speaks the language asked for; any other request gets the voice's own.
    auto inLanguage = [](const std::string& language) {
        return speak("Hello, this is the weather.", voiceId("ios6.zh-TW"), 1, 1, false, language);
    };
    const auto own = inLanguage("");
    EXPECT_EQ(inLanguage("zh_tw"), own);
    EXPECT_EQ(inLanguage("fr-FR"), own);
    EXPECT_NE(inLanguage("en-US"), own);
}

// Events come in order, each before its sample, with ranges in the client's text even where rules
// rewrote it ("iOS" as three letters): a word without punctuation, a sentence to its end, a mark
// just past its tag and at the word or sentence after it (or where the sound ends).
TEST_F(ProviderTest, ReportsSentencesWordsAndMarksAtTheirSamples) {
    using Type = StreamEvent::Type;
    using Event = std::tuple<Type, std::uint32_t, std::uint32_t, std::string>;
    const auto sent = [](unsigned from, unsigned to) { return Event{Type::sentence, from, to, ""}; };
    const auto wordAt = [](unsigned from, unsigned to) { return Event{Type::word, from, to, ""}; };
    const auto markAt = [](unsigned at, std::string name) { return Event{Type::mark, at, at, name}; };
    const std::tuple<const char*, std::string, bool, std::vector<Event>> cases[] = {
        // clang-format off
        {"plain text, rewritten by rules", "Update iOS, café.", false, {sent(0, 17), wordAt(0, 6), wordAt(7, 10), wordAt(7, 10), wordAt(7, 10), wordAt(12, 16)}},
        {"SSML, rewritten by rules", "<speak>Update iOS, café.</speak>", true, {sent(7, 24), wordAt(7, 13), wordAt(14, 17), wordAt(14, 17), wordAt(14, 17), wordAt(19, 23)}},
        {"plain text, two sentences", "Hello world. How are you?", false, {sent(0, 12), wordAt(0, 5), wordAt(6, 11), sent(13, 25), wordAt(13, 16), wordAt(17, 20), wordAt(21, 24)}},
        {"a mark between words", "<speak>Hello <mark name=\"here\"/>world</speak>", true, {sent(7, 37), wordAt(7, 12), markAt(32, "here"), wordAt(32, 37)}},
        {"a mark after a sentence", "<speak>Hello world. <mark name=\"m2\"/>How are you?</speak>", true, {sent(7, 19), wordAt(7, 12), wordAt(13, 18), markAt(37, "m2"), sent(37, 49), wordAt(37, 40), wordAt(41, 44), wordAt(45, 48)}},
        {"a mark at the end", "<speak>Hello world<mark name=\"end\"/></speak>", true, {sent(7, 18), wordAt(7, 12), wordAt(13, 18), markAt(36, "end")}},
        {"a mark at the start", "<speak><mark name=\"start\"/>Hello world</speak>", true, {markAt(27, "start"), sent(27, 38), wordAt(27, 32), wordAt(33, 38)}},
        {"two marks in a row", "<speak>One <mark name=\"a\"/><mark name=\"b\"/>two</speak>", true, {sent(7, 46), wordAt(7, 10), markAt(27, "a"), markAt(43, "b"), wordAt(43, 46)}},
        // Spoken as two phrases, the second within the same sentence.
        {"a break within a sentence", "<speak>Hello<break time=\"1s\"/>world <mark name=\"m\"/>again</speak>", true, {sent(7, 57), wordAt(7, 12), wordAt(30, 35), markAt(52, "m"), wordAt(52, 57)}},
        // clang-format on
    };
    for (const auto& [name, text, ssml, expected] : cases) {
        SCOPED_TRACE(name);
        const Spoken spoken = speakWithEvents({{}, text, voiceId("ios4.en-US"), 1, 1, ssml, {}});
        std::vector<Event> events;
        std::optional<std::uint64_t> previousWord;
        const auto quiet = [](float x) { return std::abs(x) < 0.05f; };
        for (auto event = spoken.events.begin(); event != spoken.events.end(); ++event) {
            events.emplace_back(event->type, event->rangeStart, event->rangeEnd, event->name);
            EXPECT_LT(event->frame, spoken.samples.size());
            EXPECT_GE(event->frame, event == spoken.events.begin() ? 0 : event[-1].frame);
            if (event->type == Type::word) {
                EXPECT_TRUE(!previousWord || event->frame > *previousWord) << "two words at one sample";
                previousWord = event->frame;
            }
            if (event->type != Type::mark) continue;
            // A mark before a word is heard with it; one after the last word, once all is said.
            const auto next =
                std::find_if(event, spoken.events.end(), [](auto& e) { return e.type != Type::mark; });
            const auto rest = std::span(spoken.samples).subspan(event->frame);
            EXPECT_TRUE(next == spoken.events.end() ? std::ranges::all_of(rest, quiet)
                                                    : event->frame == next->frame)
                << event->name;
        }
        EXPECT_EQ(events, expected);
    }
}

// A client that pauses longer than any reader would gets every sample; many utterances queued at
// once are all accepted and spoken in order, a few at a time (the last waits for the first).
TEST_F(ProviderTest, AReaderThatPausesGetsEverythingAndQueuedUtterancesAreAllSpokenInOrder) {
    const std::string voice = voiceId("ios5.en-US");
    const std::string text =
        "A long utterance. " + sentence + " " + sentence + " " + sentence + " " + sentence;
    const auto whole = speak(text, voice);
    ASSERT_GT(seconds(whole), 5.0) << "the utterance fits into the pipe";
    auto paused = std::async(std::launch::async, [&] {
        auto [pipe, reply] = startSpeaking({{}, text, voice, 1, 1, false, {}});
        std::this_thread::sleep_for(std::chrono::seconds(21));
        return readSpoken(std::move(pipe)).samples;
    });

    const auto queuing = SpielBus::connectToSession();
    std::vector<UniqueFd> queued;
    for (int i = 0; i < 40; ++i) {
        auto [pipe, reply] =
            startSpeaking({{}, "Item " + std::to_string(i) + ".", voice, 1, 1, false, {}}, *queuing);
        ASSERT_TRUE(reply->wait(streamLimit, {}));
        ASSERT_FALSE(reply->error()) << i << ": " << *reply->error();
        queued.push_back(std::move(pipe));
    }
    EXPECT_FALSE(speak(sentence, voice).empty()) << "another client is still served";
    int unread = 0;
    EXPECT_EQ(::ioctl(queued.back().get(), FIONREAD, &unread), 0);
    EXPECT_EQ(unread, 0) << "the last utterance started before the first was read";
    for (std::size_t i = 0; i < queued.size(); ++i)
        EXPECT_EQ(readSpoken(std::move(queued[i])).samples, speak("Item " + std::to_string(i) + ".", voice))
            << i;
    EXPECT_EQ(paused.get(), whole);
}

// A damaged pack falls back to exactly the compact samples, a replaced one is read afresh, and one
// whose folder comes and goes gives either whole voice. (The enhanced self test on the bus checks
// that a pack is spoken from at once, its pitch rule and its removal.)
TEST_F(ProviderTest, ADamagedPackFallsBackAReplacedOneIsReadAfreshAndAMovingOneGivesEitherVoice) {
    const std::pair<const char*, void (*)(const fs::path& header)> cases[] = {
        {"header at permissions 0", [](auto& header) { fs::permissions(header, fs::perms::none); }},
        {"binary header", [](auto& header) { writeFile(header, std::string("\0\xff\x01<voi\xfe", 9)); }},
        {"header naming no voice", [](auto& header) { writeFile(header, "<voice>  </voice>"); }},
        {"huge header",
         [](auto& header) { writeFile(header, brokerHeader("Samantha") + std::string(3 << 20, ' ')); }},
        {"no header", [](auto& header) { fs::remove(header); }},
        {"unreadable voice data",
         [](auto& header) { fs::permissions(header.parent_path() / "voice.dat", fs::perms::none); }},
    };
    const std::string voice = voiceId("ios6.en-US");
    const auto compact = speak(sentence, voice);
    for (const auto& [name, damage] : cases) {
        const fs::path pack = installPack("ios6", "en-US");
        ASSERT_NE(speak(sentence, voice), compact) << "the intact pack is not spoken from";
        damage(pack / "broker.hdr");
        EXPECT_EQ(speak(sentence, voice), compact) << name;
    }

    installPack("ios6", "en-US", "first pack data");
    const auto first = speak(sentence, voice);
    const fs::path pack = installPack("ios6", "en-US");
    const auto enhanced = speak(sentence, voice);
    EXPECT_NE(enhanced, first) << "the pack's data was not read afresh";
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
    // Each with the "user_rules.txt" of the pack it is spoken from.
    const std::tuple<const char*, std::string, bool, std::string> cases[] = {
        {"empty text", "", false, ""},
        {"unclosed SSML", "<speak><s>Hello <break", true, ""},
        {"SSML without a speak root", "<p>Hello</p></speak></speak>", true, ""},
        {"SSML with unknown elements",
         "<speak><blink rate=\"x\">Hi</blink><prosody pitch=\"+900%\">hi</prosody></speak>", true, ""},
        {"SSML with a bad entity", "<speak>&nosuch; &#xFFFFFFFF; hi</speak>", true, ""},
        {"control characters", "\x01\x02\x1b[31m\x7f bell\a", false, ""},
        {"long text", std::string(200, 'a') + " " + std::string(3000, ' ') + "end.", false, ""},
        {"rules: binary", "Hello a world", false, std::string("\0\xff\t\x01\n\xfe\xfe\t\n", 9)},
        {"rules: one that empties the text", "Hello", false, "Hello\t\n"},
        {"rules: a very long line", "Hello a world", false, std::string(500000, 'x') + "\ty\n"},
    };
    const std::string voice = voiceId("ios5.fr-FR");
    for (const auto& [name, text, ssml, rules] : cases) {
        SCOPED_TRACE(name);
        writeFile(installPack("ios5", "fr-FR") / "user_rules.txt", rules);
        speak(text, voice, 1.0, 1.0, ssml);
    }

    auto [pipe, reply] = startSpeaking({{}, "Hello", voicePrefix + "ios9.xx-XX.Nobody", 1, 1, false, {}});
    PipeReader reader(std::move(pipe), {}, streamLimit);
    std::byte none[1];
    std::size_t count = 0;
    EXPECT_EQ(reader.read(none, count), PipeReader::Event::endOfFile) << "unknown voice";
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
    velmora::test::TestWorld::shareWithBus(velmora::test::resources / "velmora.entitlements");
    return RUN_ALL_TESTS();
}
