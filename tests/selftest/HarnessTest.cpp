#include <gtest/gtest.h>
#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <thread>

#include "selftest/BufferCollector.h"
#include "selftest/SelfTest.h"
#include "support/Files.h"

namespace velmora {
namespace {

using namespace std::chrono_literals;
const PcmBuffer endMarker{};

PcmBuffer pcm(std::vector<float> s, int channels = 1, double rate = 100) {
    return {std::move(s), channels, rate};
}

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
    const auto fields = [](const RenderResult& r) {
        return std::tuple(r.seconds, r.peak, r.latency, r.signature);
    };
    for (const auto& c : cases) EXPECT_EQ(fields(measure(c.buffers)), fields(c.expected)) << c.name;
}

// The dump's samples as libsndfile reads them back, and its format.
std::vector<float> readBack(const std::filesystem::path& file, SF_INFO* format = nullptr) {
    SF_INFO info{};
    SNDFILE* handle = sf_open(file.c_str(), SFM_READ, &info);
    if (handle == nullptr) throw std::runtime_error("cannot read " + file.string());
    std::vector<float> samples(static_cast<std::size_t>(info.frames * info.channels));
    sf_readf_float(handle, samples.data(), info.frames);
    sf_close(handle);
    if (format != nullptr) *format = info;
    return samples;
}

bool isOpenInThisProcess(const std::filesystem::path& file) {
    const auto target = std::filesystem::weakly_canonical(file);
    std::error_code ignored;
    return std::ranges::any_of(std::filesystem::directory_iterator("/proc/self/fd"), [&](const auto& fd) {
        return std::filesystem::read_symlink(fd, ignored) == target;
    });
}

// Delivers a stream from within write(), the way one that ended before the wait does.
struct ScriptedRenderer : AudioRenderer {
    void write(const Utterance& utterance, BufferCallback callback) override {
        last = utterance;
        for (const auto& buffer : {pcm({0.0f, 0.5f}), endMarker}) callback(buffer);
    }
    Utterance last;
};

TEST(HarnessTest, StreamEndsBeforeOrWhileTheResultIsAwaited) {
    const auto expectHalfScale = [](const RenderResult& r) {
        EXPECT_EQ(std::tuple(r.seconds, r.peak, r.latency >= 0, r.signature),
                  std::tuple(0.01, 0.5f, true, 16384ul));
    };
    const auto before = BufferCollector::create();
    for (const auto& buffer : {pcm({0.5f}), endMarker, pcm({0.75f, 0.75f}, 1, 50)})
        before->callback()(buffer);
    expectHalfScale(before->result(1h));  // the buffer after the end marker is not counted

    const auto during = BufferCollector::create();
    std::jthread late([callback = during->callback()] {
        std::this_thread::sleep_for(50ms);
        callback(pcm({0.5f}));
        callback(endMarker);
    });
    expectHalfScale(during->result(1h));
}

TEST(HarnessTest, DumpHoldsTheFirstFormatsBuffersAndClosesAtTheEndOrTheTimeout) {
    test::TempDir temp;
    const auto file = temp / "render.caf";
    test::writeFile(file, std::string(100000, 'x'));  // replaced, not appended to
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
    EXPECT_FALSE(std::filesystem::exists(temp / "never.caf"));
}

// The voice, pitch and dump reach the provider in the self tests on the bus; the rate and a
// refused SSML text are seen only here.
TEST(HarnessTest, RenderPassesTheRateAndNeverWritesRefusedSsml) {
    ScriptedRenderer renderer;
    const SpeechVoice voice{"com.example.voice", "Voice", "en-US", "com.example.Second.Provider"};
    SelfTest::render(renderer, "Mac OS X", voice, 0.25f, 1.4f, std::nullopt);
    EXPECT_EQ(renderer.last.rate, 0.25f);
    EXPECT_EQ(SelfTest::renderSsml(renderer, "<speak>Hello", voice), RenderResult{});
    EXPECT_EQ(renderer.last.text, "Mac OS X");  // not handed to the renderer
}

}  // namespace
}  // namespace velmora
