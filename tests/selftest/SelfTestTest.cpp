// The render harness, and the speech and enhanced suites against fake engines, catalogs and
// installs: every line of a passing run, the boundaries of every verdict, and the runs that end early.
#include <gtest/gtest.h>
#include <sndfile.h>
#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <thread>

#include "samples/Samples.h"
#include "selftest/BufferCollector.h"
#include "selftest/EnhancedSelfTest.h"
#include "selftest/SelfTest.h"
#include "store/VoiceStore.h"
#include "support/Files.h"
#include "support/TestWorld.h"

namespace velmora::test {
namespace {
namespace fs = std::filesystem;
using namespace std::chrono_literals;
const PcmBuffer endMarker{};

PcmBuffer pcm(std::vector<float> s, int channels = 1, double rate = 100) { return {s, channels, rate}; }

constexpr float quietest = 0.01f;
const float justAudible = std::nextafter(0.01f, 1.0f);
constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();
const float huge = std::ldexp(1.0f, 40);      // scales to 2^55
const float tooLarge = std::ldexp(1.0f, 48);  // scales to 2^63, beyond a signed 64-bit integer

// Feeds the buffers, then the end marker, one per second of a fake clock from the start: latency
// is the 1-based index of the first buffer holding an audible sample.
RenderResult measure(const std::vector<PcmBuffer>& buffers) {
    BufferCollector::Clock::time_point now{};
    const auto collector = BufferCollector::create(std::nullopt, [&now] { return now; });
    const auto callback = collector->callback();
    for (const auto& buffer : buffers) {
        now += std::chrono::seconds(1);
        callback(buffer);
    }
    callback(endMarker);
    return collector->result(1h);
}

TEST(MeasurementTest, EachRuleOnChannelZero) {
    const struct {
        const char* name;
        std::vector<PcmBuffer> buffers;
        RenderResult expected;
    } cases[] = {
        // clang-format off
        {"end marker only", {}, {0, 0, -1.0, 0}},
        {"signature wraps around in 64 bits", {pcm({huge, huge, huge})},
         {0.03, huge, 1, 15 * (std::uint64_t{1} << 60) + (std::uint64_t{1} << 55)}},
        {"most negative 64-bit value still counts", {pcm({-tooLarge})}, {0.01, tooLarge, 1, std::uint64_t{1} << 63}},
        {"NaN, infinite and out-of-range samples stay out of the signature; NaN leaves the peak alone",
         {pcm({0.5f, nan, tooLarge, -infinity, -0.25f})}, {0.05, infinity, 1, 16384 * 31 - 8192}},
        {"exactly 0.01 is not audible", {pcm({quietest, -quietest, 0.0f})}, {0.03, quietest, -1.0, 327 * 31 * 31 - 327 * 31}},
        {"the first sample above 0.01 sets latency, later ones do not", {pcm({quietest}), pcm({0.0f, justAudible}), pcm({0.9f})},
         {0.04, 0.9f, 2, ((327 * 31 + 0) * 31 + 327) * 31 + 29491}},
        {"a negative sample just above 0.01 is audible", {pcm({-quietest}), pcm({-justAudible})},
         {0.02, justAudible, 2, static_cast<std::uint64_t>(-327 * 31 - 327)}},
        {"peak keeps the largest magnitude", {pcm({0.2f, -0.7f, 0.3f})}, {0.03, 0.7f, 1, (6553 * 31 - 22937) * 31 + 9830}},
        {"other channels and a trailing partial frame are not measured", {pcm({0.5f, 0.9f, -0.25f, -0.9f, 0.7f}, 2)},
         {0.02, 0.5f, 1, 16384 * 31 - 8192}},
        {"audio on channel 1 alone is not audible", {pcm({0.0f, 0.9f, 0.0f, 0.9f}, 2)}, {0.02, 0, -1.0, 0}},
        {"seconds divide all frames by the last usable rate; buffers without one are ignored",
         {pcm(std::vector<float>(100, 0.0f), 1, 10000), pcm(std::vector<float>(100, 0.0f), 2, 5000),
          pcm({0.5f}, 1, 0), pcm({0.5f}, 1, -22050), pcm({0.5f}, 1, nan)}, {0.03, 0, -1.0, 0}},
        // clang-format on
    };
    const auto fields = [](const auto& r) { return std::tuple(r.seconds, r.peak, r.latency, r.signature); };
    for (const auto& c : cases) EXPECT_EQ(fields(measure(c.buffers)), fields(c.expected)) << c.name;
}

// The dump's samples as libsndfile reads them back, and its format.
std::vector<float> readBack(const fs::path& file, SF_INFO* format = nullptr) {
    SF_INFO info{};
    SNDFILE* handle = sf_open(file.c_str(), SFM_READ, &info);
    if (handle == nullptr) throw std::runtime_error("cannot read " + file.string());
    std::vector<float> samples(static_cast<std::size_t>(info.frames * info.channels));
    sf_readf_float(handle, samples.data(), info.frames);
    sf_close(handle);
    if (format != nullptr) *format = info;
    return samples;
}

bool isOpenInThisProcess(const fs::path& file) {
    const auto target = fs::weakly_canonical(file);
    std::error_code ignored;
    return std::ranges::any_of(fs::directory_iterator("/proc/self/fd"),
                               [&](const auto& fd) { return fs::read_symlink(fd, ignored) == target; });
}

// Delivers a stream from within write(), the way one that ended before the wait does.
struct ScriptedRenderer : AudioRenderer {
    void write(const Utterance& utterance, BufferCallback callback) override {
        last = utterance;
        for (const auto& buffer : {pcm({0.0f, 0.5f}), endMarker}) callback(buffer);
    }
    Utterance last;
};

// Buffers that arrive on another thread while the result is awaited wake the wait.
TEST(HarnessTest, AStreamEndingWhileTheResultIsAwaitedWakesIt) {
    const auto collector = BufferCollector::create();
    std::jthread late([callback = collector->callback()] {
        std::this_thread::sleep_for(50ms);
        callback(pcm({0.5f}));
        callback(endMarker);
    });
    EXPECT_EQ(collector->result(1h).signature, 16384u);  // the late buffer is measured
}

TEST(HarnessTest, DumpHoldsTheFirstFormatsBuffersAndClosesAtTheEndOrTheTimeout) {
    TempDir temp;
    const auto file = temp / "render.caf";
    writeFile(file, std::string(100000, 'x'));  // replaced, not appended to
    const auto collector = BufferCollector::create(file);
    const auto callback = collector->callback();
    callback(pcm({0.5f, -0.5f, 0.25f, -0.25f}, 2, 16000));
    callback(pcm({0.3f}, 1, 16000));  // another format: measured, not written
    callback(pcm({0.125f, 1.0f}, 2, 16000));
    callback(endMarker);
    EXPECT_DOUBLE_EQ(collector->result(1h).seconds, 4 / 16000.0);
    EXPECT_FALSE(isOpenInThisProcess(file));  // though the callback still holds the collector
    SF_INFO info{};
    EXPECT_EQ(readBack(file, &info), (std::vector<float>{0.5f, -0.5f, 0.25f, -0.25f, 0.125f, 1.0f}));
    EXPECT_EQ(std::tuple(info.format, info.channels, info.samplerate),
              std::tuple(SF_FORMAT_CAF | SF_FORMAT_FLOAT, 2, 16000));

    // A timeout closes the dump too, and buffers after it change nothing.
    const auto timedOut = BufferCollector::create(temp / "timeout.caf");
    const auto late = timedOut->callback();
    late(pcm({0.5f, 0.25f}));
    const auto started = std::chrono::steady_clock::now();
    const RenderResult result = timedOut->result(100ms);
    EXPECT_GE(std::chrono::steady_clock::now() - started, 100ms);
    EXPECT_EQ(result.signature, 16384u * 31 + 8192);
    EXPECT_FALSE(isOpenInThisProcess(temp / "timeout.caf"));
    late(pcm({0.9f}));
    late(endMarker);
    EXPECT_EQ(timedOut->result(0s), result);
    EXPECT_EQ(readBack(temp / "timeout.caf"), (std::vector<float>{0.5f, 0.25f}));

    // Audio after a timeout that saw none creates no file, when only the callback holds the collector.
    BufferCallback held;
    {
        const auto silent = BufferCollector::create(temp / "never.caf");
        held = silent->callback();
        EXPECT_EQ(silent->result(10ms), RenderResult{});
    }
    held(pcm({0.5f}));
    held(endMarker);
    EXPECT_FALSE(fs::exists(temp / "never.caf"));
}

// The voice, pitch and dump reach the provider in the self tests on the bus; the rate and a
// refused SSML text are seen only here.
TEST(HarnessTest, RenderPassesTheRateAndNeverWritesRefusedSsml) {
    ScriptedRenderer renderer;
    const SpeechVoice voice{"com.example.voice", "Voice", "en-US", "com.example.Second.Provider"};
    SelfTest::render(renderer, "Mac OS X", voice, 0.25f, 1.4f, std::nullopt);
    EXPECT_EQ(renderer.last.rate, 0.25f);
    EXPECT_EQ(SelfTest::renderSsml(renderer, "<speak>Hello", voice), RenderResult{});
}

// One render a suite asked for.
struct RenderRequest {
    std::string text, voice;
    float rate = 0, pitch = 0;
    bool ssml = false;
    std::optional<fs::path> dumpTo;
};
using Engine = std::function<RenderResult(const RenderRequest&)>;

// Services whose renders are answered by `engine` and whose voice list is `voices`, appearing
// at the look numbered `firstListing` (1-based; earlier looks find nothing). Lines are collected.
struct FakeServices {
    Engine engine;
    std::vector<SpeechVoice> voices;
    int firstListing = 1;
    std::vector<std::string> lines{};
    std::vector<RenderRequest> requests{};
    std::vector<double> pauses{};
    int looks = 0, synthesizers = 0;

    struct Renderer : SelfTestRenderer {
        explicit Renderer(FakeServices& services) : fake(services) {}
        RenderResult render(const std::string& text, const SpeechVoice& voice, float rate, float pitch,
                            const std::optional<fs::path>& dumpTo) override {
            return fake.answer({text, voice.identifier, rate, pitch, false, dumpTo});
        }
        RenderResult renderSsml(const std::string& ssml, const SpeechVoice& voice) override {
            return fake.answer({ssml, voice.identifier, 0.5f, 1.0f, true, std::nullopt});
        }
        FakeServices& fake;
    };
    RenderResult answer(const RenderRequest& request) {
        requests.push_back(request);
        return engine(request);
    }
    SelfTestServices services() {
        return {[this](const std::string& line) { lines.push_back(line); },
                [] {},
                [this] { return ++looks >= firstListing ? voices : std::vector<SpeechVoice>{}; },
                [this] { return ++synthesizers, std::make_unique<Renderer>(*this); },
                [this](std::chrono::duration<double> duration) { pauses.push_back(duration.count()); },
                "/fake/tmp"};
    }
};

const std::string samantha4 = "com.tarvenholt.Velmora.voice.ios4.en-US.Samantha";
const std::string samantha7 = "com.tarvenholt.Velmora.voice.ios7.en-US.Samantha";
const std::string samantha5 = "com.tarvenholt.Velmora.voice.ios5.en-US.Samantha";
const std::string thomas5 = "com.tarvenholt.Velmora.voice.ios5.fr-FR.Thomas";
const std::string sweep = "The quick brown fox jumps over the lazy dog.";

bool contains(const std::string& text, const std::string& part) { return text.find(part) != text.npos; }

// An engine under which every check passes; SSML is told apart by a piece of each case.
RenderResult passingEngine(const RenderRequest& r) {
    if (r.ssml) {
        const std::pair<const char*, double> ssml[] = {{"VAL", 2.1},         {"General", 2.05},
                                                       {"<s>Airplane", 3.3}, {"<s>Settings", 1.5},
                                                       {"Mode<break", 3.0},  {"1.5s", 2.22}};
        for (const auto& [piece, seconds] : ssml)
            if (contains(r.text, piece)) return {seconds, 0.5f, 0.125, 1};
    }
    if (r.text == "Settings") return {0.5, 0.0f, -1.0, 0};
    if (r.text == sweep && !r.dumpTo) return {3.0 - 2 * r.rate, 0.5f, 0.125, 1};
    if (r.voice == thomas5) return {2.5, 0.25f, 0.125, 1};
    return {1.0, 0.5f, 0.125, 1};
}

TEST(SpeechSuiteTest, EveryLineOfARunWhoseVoicesAppearAtTheThirdLook) {
    FakeServices fake{passingEngine,
                      {{samantha7, "Samantha (iOS 7)", "en-US"},
                       {"org.example.voice.Alex", "Alex", "en_us"},
                       {samantha4, "Samantha (iOS 4)", "en-US"},
                       {thomas5, "Thomas (iOS 5)", "fr-FR"}},
                      3};
    SelfTest::run(fake.services());

    EXPECT_EQ(joinLines(fake.lines), readFile(expectedOutput("selftest", "speech-suite.txt")));
    EXPECT_EQ(fake.pauses, (std::vector<double>{0.5, 0.5}));
    EXPECT_EQ(fake.synthesizers, 1);

    // Every render at the default rate and pitch 1, but the sweep; only the two dumps are written.
    std::vector<std::tuple<std::string, std::string, std::filesystem::path>> dumps;
    for (const auto& r : fake.requests) {
        EXPECT_EQ(std::pair(r.pitch, r.text != sweep || r.dumpTo ? r.rate : 0.5f), std::pair(1.0f, 0.5f))
            << r.text;
        if (r.dumpTo) dumps.emplace_back(r.voice, r.text, *r.dumpTo);
    }
    const std::string greeting =
        "Hello! This is Samantha, from iOS four. VoiceOver on, twelve new messages from Doctor Smith.";
    EXPECT_EQ(dumps, (decltype(dumps){{samantha4, greeting, "/fake/tmp/selftest-samantha.caf"},
                                      {samantha7, sweep, "/fake/tmp/selftest-samantha-ios7.caf"}}));
    EXPECT_EQ(fake.requests[2].text, Samples::textFor("fr-FR"));  // each language speaks its sample
}

TEST(SpeechSuiteTest, VerdictsAtTheirBoundaries) {
    const double above = std::nextafter(0.3, 1.0);
    const float louder = std::nextafter(0.05f, 1.0f);
    using Answers = std::map<std::string, RenderResult>;  // by plain text, or by a piece of an SSML text
    const std::string en(Samples::textFor("en-US"));
    const std::string per = "SELFTEST PASS en-US Samantha (iOS 4): ",
                      fer = "SELFTEST FAIL en-US Samantha (iOS 4): ";
    const std::string twoParts = " General | Button: 1.23s, parts spoken separately 1.25s";
    const std::string airplane = " Airplane Mode | Switch button | off: 3.32s, parts spoken separately 3.00s";
    const std::string rules = " \"Mac OS X\" 0.500s == \"Mac OS ten \" ";
    // clang-format off
    const auto two = [](double whole) { return Answers{{"General", {0.75}}, {"Button", {0.5}}, {"<s>General", {whole}}}; };
    const auto macOs = [](double ten) { return Answers{{"Mac OS X", {0.5}}, {"Mac OS ten ", {ten}}}; };
    const struct {
        const char* name;
        Answers answers;
        std::string line;
    } cases[] = {
        {"0.3 s is too short", {{en, {0.3, 0.9f}}}, fer + "0.30s audio, peak 0.90"},
        {"a peak of 0.05 is too quiet", {{en, {0.9, 0.05f}}}, fer + "0.90s audio, peak 0.05"},
        {"just above both passes", {{en, {above, louder}}}, per + "0.30s audio, peak 0.05"},
        {"NaN seconds fail", {{en, {nan, 0.9f}}}, fer + "nans audio, peak 0.90"},
        {"parts at sum - 0.02 pass", two(1.25 - 0.02), "SELFTEST parts PASS" + twoParts},
        {"parts just under sum - 0.02 fail", two(std::nextafter(1.25 - 0.02, 0.0)), "SELFTEST parts FAIL" + twoParts},
        {"three parts up to sum + 0.32 pass", {{"<s>Airplane", {3.32 - 1e-9}}}, "SELFTEST parts PASS" + airplane},
        {"three parts beyond sum + 0.32 fail", {{"<s>Airplane", {3.32 + 1e-9}}}, "SELFTEST parts FAIL" + airplane},
        {"voice elements 0.03 s apart fail", {{"<voice", {1.03}}},
         "SELFTEST voices FAIL <voice> parts: 1.03s, reference \"Log Out Halden ellipsis Command Shift q\" 1.00s"},
        {"a break adding the full 1.5 s fails", {{"1.5s", {2.5}}}, "SELFTEST breaks FAIL 1.5s break: 2.50s, expected 1.00s + 1.22s = 2.22s"},
        {"rules 0.0015 s apart pass", macOs(0.5015), "SELFTEST rules PASS" + rules + "0.501s"},
        {"rules 0.002 s apart fail", macOs(0.502), "SELFTEST rules FAIL" + rules + "0.502s"},
    };
    // clang-format on
    for (const auto& c : cases) {
        const auto engine = [&c](const RenderRequest& r) {
            for (const auto& [key, answer] : c.answers)
                if (r.ssml ? contains(r.text, key) : r.text == key) return answer;
            return passingEngine(r);
        };
        FakeServices fake{engine, {{samantha4, "Samantha (iOS 4)", "en-US"}}};
        SelfTest::run(fake.services());
        EXPECT_EQ(std::ranges::count(fake.lines, c.line), 1)
            << c.name << ::testing::PrintToString(fake.lines);
    }
}

TEST(SpeechSuiteTest, WithoutTheReferenceVoiceTheRunEndsAtTheSummary) {
    // No voices at all: twenty looks, each followed by its pause. The only en-US voice besides is
    // the extension's own, so there is no control line.
    FakeServices none{passingEngine, {{"com.tarvenholt.Velmora.other.en-US", "Other", "en-US"}}};
    SelfTest::run(none.services());
    EXPECT_EQ(none.lines, (std::vector<std::string>{
                              "SELFTEST voices: 0", "SELFTEST release iPhone OS 3: 0 voices",
                              "SELFTEST release iOS 4: 0 voices", "SELFTEST release iOS 5: 0 voices",
                              "SELFTEST release iOS 6: 0 voices", "SELFTEST release iOS 7: 0 voices",
                              "SELFTEST done: 0/0 passed"}));
    EXPECT_EQ(none.pauses, std::vector<double>(20, 0.5));

    // Voices of the extension, none of them the iOS 4 Samantha; a failing one is counted.
    FakeServices other{
        [](const RenderRequest& r) { return r.voice == samantha7 ? RenderResult{} : passingEngine(r); },
        {{samantha7, "Samantha (iOS 7)", "en-US"}, {thomas5, "Thomas (iOS 5)", "fr-FR"}}};
    SelfTest::run(other.services());
    EXPECT_EQ(other.lines.back(), "SELFTEST done: 1/2 passed");
}

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
    std::optional<bool> pitchFromPack{};  // by default only where the enhanced engine takes pitch
    bool readsLockedPack = false;         // reads a pack whose header has no permissions
    bool silentWhenLocked = false, silentFromPack = false, ignoresPacks = false;
};

// A run's fake world, whose packs go with it.
struct EnhancedFake {
    ~EnhancedFake() { fs::remove_all(container() / "Voices"); }
    EngineFaults faults;
    std::function<std::vector<EnhancedVoice>()> fetch = [] {
        return std::vector{catalogVoice("ios7", "en-US", 3'000'000), catalogVoice("ios6", "de-DE", 2'000'000),
                           catalogVoice("ios5", "en-US", 2'000'000)};
    };
    int installs = 0;
    std::function<std::int64_t(const EnhancedVoice&)> install = [this](const EnhancedVoice& voice) {
        return ++installs, writePack(voice.id());
    };
    FakeServices speech{[this](const RenderRequest& r) { return speak(r); },
                        {{samantha5, "Samantha (iOS 5)", "en-US"}, {samantha7, "Samantha (iOS 7)", "en-US"}}};

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
        EnhancedSelfTest::run(arguments, {speech.services(), fetch, install});
        return speech.lines;
    }
};

TEST(EnhancedSuiteTest, EveryLineOfAPassingRunAndThePackLeftAsItWas) {
    EnhancedFake fake;
    const auto lines = fake.run({"velmora", "-enhanced-voice", "ios5/en-US"});
    EXPECT_EQ(joinLines(lines, {{container().string(), "{container}"}}),
              readFile(expectedOutput("selftest", "enhanced-suite.txt")));
    EXPECT_EQ(permissions(pack("ios5/en-US") / "broker.hdr"), 0640u);
    EXPECT_EQ(fake.speech.synthesizers, 1);
}

std::int64_t dictionaryShort(const EnhancedVoice& voice) {
    const auto size = writePack(voice.id());
    fs::remove(pack(voice.id()) / "en_userdct.dat");
    return size;
}

// Each verdict a run can reach: one that ends the run is its last line and comes before any
// render; one that the run goes on after shows once among the run's twelve lines.
TEST(EnhancedSuiteTest, EachVerdictAndWhereTheRunEnds) {
    const struct {
        const char* name;
        const char* voice;
        EngineFaults faults;
        std::function<void(EnhancedFake&)> arrange;
        bool ends;
        std::string line;
    } cases[] = {
        // clang-format off
        {"iOS 5 pitch from the pack", "ios5/en-US", {.pitchFromPack = true}, {}, false,
         "ENHANCED FAIL pitch: iOS 5 did not fall back to the compact data for a pitch change"},
        {"iOS 7 pitch from compact data", "ios7/en-US", {.pitchFromPack = false}, {}, false,
         "ENHANCED FAIL pitch: iOS 7 should shift pitch on the enhanced data, but it fell back to the compact data"},
        {"no catalog voice is the one asked for", "ios6/fr-FR", {}, {}, true, "ENHANCED FAIL catalog held no voices"},
        {"install fails", "ios5/en-US", {}, [](EnhancedFake& f) {
             f.install = [](auto&) -> std::int64_t { throw std::runtime_error("bad checksum"); }; },
         true, "ENHANCED FAIL install: bad checksum"},
        {"install leaves no pack", "ios5/en-US", {}, [](EnhancedFake& f) { f.install = [](auto&) { return 1; }; },
         true, "ENHANCED FAIL the installed voice is not in the shared container"},
        {"the system does not list the voice", "ios5/en-US", {}, [](EnhancedFake& f) { f.speech.voices.clear(); },
         true, "ENHANCED FAIL the system does not list Samantha (iOS 5)"},
        {"the install brings a dictionary short", "ios5/en-US", {}, [](EnhancedFake& f) { f.install = dictionaryShort; },
         false, "ENHANCED FAIL pronunciations: the pack is missing en_userdct.dat"},
        {"the engine reads an unreadable pack", "ios5/en-US", {.readsLockedPack = true}, {}, false,
         "ENHANCED FAIL unreadable: spoke, but not from the compact data"},
        {"the engine goes silent", "ios5/en-US", {.silentWhenLocked = true}, {}, false,
         "ENHANCED FAIL unreadable: the voice went silent when the pack could not be read"},
        {"the pack is silent", "ios5/en-US", {.silentFromPack = true}, {}, false,
         "ENHANCED FAIL spoke 0.00s of audio, peak 0.00"},
        {"the engine never reads packs", "ios5/en-US", {.ignoresPacks = true}, {}, false,
         "ENHANCED FAIL immediate: the voice sounds the same with the pack and without"},
        // clang-format on
    };
    for (const auto& c : cases) {
        EnhancedFake fake{c.faults};
        if (c.arrange) c.arrange(fake);
        const auto lines = fake.run({"-enhanced-voice", c.voice});
        if (c.ends) {
            EXPECT_EQ(lines.back(), c.line) << c.name;
            EXPECT_TRUE(fake.speech.requests.empty()) << c.name;
        } else {
            EXPECT_EQ(std::ranges::count(lines, c.line), 1) << c.name << ::testing::PrintToString(lines);
            EXPECT_EQ(lines.size(), 12u) << c.name;
        }
    }
}

TEST(EnhancedSuiteTest, OptionsChooseTheSubjectAndTheRemovals) {
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

    writePack("ios7/en-US");
    EnhancedFake installed;
    lines = installed.run({"-enhanced-voice", "ios7/en-US"});
    EXPECT_EQ(installed.installs, 0);
    EXPECT_EQ(lines[4], "ENHANCED already installed, skipping the download");
    EXPECT_EQ(lines.back(),
              "ENHANCED PASS pitch: iOS 7 shifts pitch on the enhanced data, as its engine does");
}

TEST(EnhancedSuiteTest, ARunFirstRepairsWhatAKilledRunLeft) {
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
