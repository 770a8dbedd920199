#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>

#include "speech/NullOutput.h"
#include "speech/ProviderControl.h"
#include "speech/StreamFormat.h"
#include "speech/Synthesizer.h"
#include "speech/TestProviderVoices.h"
#include "support/Files.h"
#include "support/Process.h"
#include "support/Watched.h"

namespace velmora {
namespace {

using test::Watched;

using namespace std::chrono_literals;

// What one write() delivered: the samples of every buffer in order, and what came at the end.
struct Render {
    std::vector<float> samples;
    int channels = 0;
    double sampleRate = 0;
    bool ended = false;       // an empty buffer came
    int buffersAfterEnd = 0;  // anything after the first empty buffer

    std::size_t frames() const { return channels > 0 ? samples.size() / std::size_t(channels) : 0; }
    void add(const PcmBuffer& buffer) {
        if (ended) ++buffersAfterEnd;
        ended = ended || buffer.frameCount() == 0;
        if (ended) return;
        channels = buffer.channels;
        sampleRate = buffer.sampleRate;
        samples.insert(samples.end(), buffer.samples.begin(), buffer.samples.end());
    }
};

std::shared_ptr<Watched<Render>> startRender(AudioRenderer& renderer, const Utterance& utterance) {
    auto watch = std::make_shared<Watched<Render>>();
    renderer.write(utterance,
                   [watch](const PcmBuffer& buffer) { watch->change([&](Render& r) { r.add(buffer); }); });
    return watch;
}

// What the render delivered once it ended, or when `limit` has passed.
Render waitForEnd(const std::shared_ptr<Watched<Render>>& watch, std::chrono::milliseconds limit = 20s) {
    return watch->waitUntil([](const Render& r) { return r.ended; }, limit);
}

Render render(AudioRenderer& renderer, const Utterance& u) { return waitForEnd(startRender(renderer, u)); }

// The silent real-time output, adding the frames it plays to a count.
struct CountingOutput : NullOutput {
    explicit CountingOutput(std::shared_ptr<std::atomic<std::size_t>> count) : played(std::move(count)) {}
    void play(const PcmBuffer& buffer, std::stop_token stop) override {
        NullOutput::play(buffer, stop);
        *played += buffer.frameCount();
    }
    std::shared_ptr<std::atomic<std::size_t>> played;
};

using Calls = std::vector<std::string>;
const std::string m = "com.tarvenholt.Velmora.voice.";
const std::string raw16 = m + "ios4.en-US.Raw16", raw32 = m + "ios5.de-DE.Raw32";
const std::string framed16 = m + "ios6.fr-FR.Framed16", framed32 = m + "ios7.en-GB.Framed32";

// The fixture is the synthesizer's delegate and records its calls as "finish:TEXT" and "cancel:TEXT".
class SpeechBusTest : public testing::Test, public SynthesizerDelegate {
protected:
    SpeechBusTest() { synthesizer.setDelegate(this); }
    ~SpeechBusTest() override { synthesizer.setDelegate(nullptr); }
    void record(const std::string& call) {
        calls.change([&](Calls& all) { all.push_back(call); });
    }
    void didFinish(const Utterance& u) override { record("finish:" + u.text); }
    void didCancel(const Utterance& u) override { record("cancel:" + u.text); }
    Calls waitForCalls(std::size_t count, std::chrono::milliseconds limit = 20s) {
        return calls.waitUntil([count](const Calls& all) { return all.size() >= count; }, limit);
    }

    Watched<Calls> calls;
    std::shared_ptr<SpeechSystem> system = std::make_shared<SpeechSystem>();
    std::shared_ptr<std::atomic<std::size_t>> played = std::make_shared<std::atomic<std::size_t>>(0);
    Synthesizer synthesizer{system, [this](int, double) { return std::make_unique<CountingOutput>(played); }};
};

TEST_F(SpeechBusTest, ListsEveryProvidersVoicesAndReadsThemAgainOnRequest) {
    std::vector<SpeechVoice> expected;
    const std::pair<const char*, std::string> sets[] = {
        {"chimes", test::chimesProvider}, {"formats", test::formatsProvider}, {"tones", test::tonesProvider}};
    for (const auto& [set, provider] : sets)  // provider by provider, in bus name order
        for (const auto& v : test::testVoices(set))
            expected.push_back({v.identifier, v.name, v.languages.front(), provider});
    EXPECT_EQ(system->voices(), expected);
    test::addVoice(test::chimesProvider, "Late", "org.example.Late", "audio/x-raw,format=S16LE,rate=8000",
                   {"ja-JP"});
    EXPECT_EQ(system->voices(), expected);
    system->updateSpeechVoices();
    expected.insert(expected.begin() + std::ssize(test::testVoices("chimes")),
                    {"org.example.Late", "Late", "ja-JP", test::chimesProvider});
    EXPECT_EQ(system->voices(), expected);
}

// Every sample format, raw and framed; two providers' voices of one identifier each speak in
// their own format; a format that cannot be read gives the end buffer alone.
TEST_F(SpeechBusTest, RendersExactSamplesInEveryFormat) {
    std::vector<std::tuple<std::string, std::string, std::size_t>> cases{
        {raw16, test::tonesProvider, 2345},
        {raw32, test::tonesProvider, 40001},
        {framed16, test::tonesProvider, 1501},
        {framed32, test::tonesProvider, 7},
        {"org.example.Plain", test::tonesProvider, 300}};
    for (const auto& v : test::testVoices("formats"))
        cases.emplace_back(v.identifier, test::formatsProvider, 333);
    for (const auto& [voice, provider, frames] : cases) {
        const auto rendered = render(
            synthesizer,
            {.text = "tone " + std::to_string(frames), .voiceIdentifier = voice, .voiceProvider = provider});
        const auto listed = system->providerVoice(voice, provider);
        ASSERT_TRUE(listed) << voice;
        const auto format = StreamFormat::parse(listed->outputFormat);
        std::vector<float> tone;
        for (std::size_t frame = 0; format && frame < frames; ++frame)
            for (int channel = 0; channel < format->channels; ++channel)
                tone.push_back(test::decodedTone(format->sample, frame, channel));
        EXPECT_EQ(rendered.samples, tone) << voice << " of " << provider;
        const auto shape = format ? std::tuple(format->channels, format->sampleRate) : std::tuple(0, 0.0);
        EXPECT_EQ(
            std::tuple(rendered.channels, rendered.sampleRate, rendered.ended, rendered.buffersAfterEnd),
            std::tuple_cat(shape, std::tuple(true, 0)))
            << voice << " of " << provider;
    }
}

TEST_F(SpeechBusTest, PassesTheSettingsOnProviderScalesAndRefusesMalformedSsmlItself) {
    const Utterance ssml{.text = "<speak>Hi</speak>",
                         .isSsml = true,
                         .voiceIdentifier = framed16,
                         .rate = 0.75f,
                         .pitchMultiplier = 1.4f};
    EXPECT_EQ(render(synthesizer, ssml).frames(), 1000u);  // the provider's length when the text names none
    const test::ProviderRequest request{"<speak>Hi</speak>", framed16, double{1.4f}, 2.0, true, "fr-FR"};
    EXPECT_EQ(test::lastRequest(test::tonesProvider), request);

    const Render refused =
        render(synthesizer, {.text = "<speak>tone 20", .isSsml = true, .voiceIdentifier = raw16});
    EXPECT_EQ(std::tuple(refused.ended, refused.frames()), std::tuple(true, 0u));
    EXPECT_EQ(test::lastRequest(test::tonesProvider), request);
}

TEST_F(SpeechBusTest, AFailingProviderCostsAPartialRenderAndTheEndBuffer) {
    synthesizer.setLimits({300ms, 5s});
    const std::tuple<std::string, std::string, std::size_t> cases[] = {
        {"die 3000", raw16, 3000},    {"die 1500", framed32, 1500}, {"stall 1000", raw16, 1000},
        {"stall 600", framed16, 600}, {"garbage 700", raw16, 700},  {"garbage 700", framed32, 700},
        {"silent 500", raw32, 500},   {"refuse", raw16, 0},         {"tone 100", "org.example.Missing", 0},
    };
    for (const auto& [text, voice, frames] : cases) {
        const Render rendered = render(synthesizer, {.text = text, .voiceIdentifier = voice});
        EXPECT_EQ(std::tuple(rendered.ended, rendered.frames(), rendered.buffersAfterEnd),
                  std::tuple(true, frames, 0))
            << text << " with " << voice;
    }
    // The provider that died is started again for the next utterance.
    EXPECT_EQ(render(synthesizer, {.text = "tone 50", .voiceIdentifier = raw16}).frames(), 50u);
}

TEST_F(SpeechBusTest, StopEndsRendersAndSpeechAtOnceAndDropsTheQueue) {
    const auto stopped = startRender(synthesizer, {.text = "stall 100", .voiceIdentifier = raw16});
    synthesizer.speak({.text = "tone 441000", .voiceIdentifier = raw16});  // twenty seconds
    synthesizer.speak({.text = "tone 10", .voiceIdentifier = raw16});
    for (int i = 0; i < 500 && *played == 0; ++i) std::this_thread::sleep_for(10ms);
    synthesizer.stop();
    EXPECT_TRUE(waitForEnd(stopped, 5s).ended);  // rather than after the ten-second stall limit
    EXPECT_EQ(waitForCalls(2, 5s), (Calls{"cancel:tone 441000", "cancel:tone 10"}));
    EXPECT_LT(*played, 441000u);
}

TEST_F(SpeechBusTest, SpeaksInTurnAndCancelsWhatCannotBeSpokenAfterPlayingWhatCame) {
    synthesizer.speak({.text = "tone 2205", .voiceIdentifier = raw16});
    synthesizer.speak({.text = "<speak>", .isSsml = true, .voiceIdentifier = raw16});
    synthesizer.speak({.text = "refuse", .voiceIdentifier = raw16});
    synthesizer.speak({.text = "die 300", .voiceIdentifier = raw16});
    synthesizer.speak({.text = "tone 5", .voiceIdentifier = "org.example.Missing"});
    synthesizer.speak({.text = "tone 441", .voiceIdentifier = framed32});
    EXPECT_EQ(waitForCalls(6), (Calls{"finish:tone 2205", "cancel:<speak>", "cancel:refuse", "cancel:die 300",
                                      "cancel:tone 5", "finish:tone 441"}));
    EXPECT_EQ(*played, 2205u + 300u + 441u);
}

// Speech goes to the silent output, as no sound server answers; `bus` replaces the test's own bus.
// No locale is set, as on containers and CI machines (ICU's default is then en_US_POSIX).
test::ProcessResult cli(const std::vector<std::string>& arguments, const std::string& bus = "") {
    std::map<std::string, std::string> environment{{"PULSE_SERVER", "unix:/nonexistent/velmora-pulse"},
                                                   {"LANG", "C.UTF-8"}};
    for (const char* unset : {"LANGUAGE", "LC_ALL", "LC_COLLATE", "LC_MESSAGES"}) environment[unset] = "";
    if (!bus.empty()) environment["DBUS_SESSION_BUS_ADDRESS"] = bus;
    return test::runProcess(VELMORA_CLI, arguments, environment);
}

TEST(VoicesCommandTest, ListsVoicesSpeaksAndRendersOrSaysWhyNot) {
    const auto says = [](const std::string& error) { return "velmora-cli: " + error + "\n"; };
    const std::string missing = says("No speech provider offers the voice \"org.example.Missing\".");
    const std::string noBus = "unix:path=/nonexistent/velmora-bus";
    // Arguments, bus, standard output and error.
    const std::tuple<std::vector<std::string>, std::string, std::string, std::string> cases[] = {
        // clang-format off
        {{"voices"}, "", test::readFile(test::expectedOutput("speech", "voices.txt")), ""},
        {{"voices"}, noBus, "Voices not registered yet\n", ""},
        {{"speak", "--voice", raw16, "--rate", "0.7", "tone 2205"}, "", "", ""},
        {{"speak", "--voice", "org.example.Missing", "Hello"}, "", "", missing},
        {{"speak", "Hello"}, noBus, "", says("No speech provider offers any voice.")},
        {{"speak", "--voice", raw16, "refuse"}, "", "", says("The voice's provider did not speak the whole text.")},
        {{"speak", "--rate", "1.5", "Hello"}, "", "", says("The rate must be between 0 and 1 (0.5 is normal speed).")},
        {{"render", "--voice", "org.example.Missing", "Hello"}, "", "", missing},
        {{"render", "--voice", "org.example.format.S24_32LE", "tone 5"}, "", "",
         says("The voice's audio format \"audio/x-raw,format=S24_32LE,rate=8000\" cannot be read: its samples are "
              "S24_32LE, which this program cannot read.")},
        // clang-format on
    };
    for (const auto& [arguments, bus, out, err] : cases) {
        const test::ProcessResult result = cli(arguments, bus);
        EXPECT_EQ(std::tuple(result.exitStatus, result.out, result.err),
                  std::tuple(err.empty() ? 0 : 1, out, err))
            << arguments.front() << " " << arguments.back();
    }

    // A render measures the utterance and writes its samples.
    test::TempDir dir;
    const test::ProcessResult first =
        cli({"render", "--voice", raw16, "--dump", (dir / "a.caf").string(), "tone 2205"});
    EXPECT_EQ(first.exitStatus, 0) << first.err;
    EXPECT_TRUE(first.out.starts_with("seconds: 0.100\npeak: 0.0305\nlatency: ")) << first.out;
    EXPECT_GT(std::filesystem::file_size(dir / "a.caf"), 2205u * 4);

    const auto signature = [](const std::string& out) { return out.substr(out.find("signature: ")); };
    EXPECT_EQ(signature(cli({"render", "--voice", raw16, "tone 2205"}).out), signature(first.out));
    EXPECT_NE(signature(cli({"render", "--voice", raw16, "tone 2206"}).out), signature(first.out));
    EXPECT_EQ(cli({"render", "--voice", raw16, "--ssml", "--pitch", "2", "<speak/>"}).exitStatus, 1);
}

}  // namespace
}  // namespace velmora
