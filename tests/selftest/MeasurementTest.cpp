#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "selftest/BufferCollector.h"
#include "selftest/RenderResultPrinting.h"
#include "selftest/ScriptedRenderer.h"

namespace velmora {
namespace {

using test::endMarker;
using test::pcm;
using Clock = BufferCollector::Clock;

constexpr float quietest = 0.01f;
const float justAudible = std::nextafter(0.01f, 1.0f);
constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float unit = 1.0f / 32768;  // one step of the signature's integer scale
const float huge = std::ldexp(1.0f, 40);       // scales to 2^55
const float tooLarge = std::ldexp(1.0f, 48);   // scales to 2^63, beyond a signed 64-bit integer
const std::uint64_t twoTo55 = std::uint64_t{1} << 55;

// Feeds the buffers to a fresh collector, one per second of a fake clock (the first arrives one
// second after the start), then ends the stream and takes the result. Latency is therefore the
// 1-based index of the first buffer holding an audible sample.
RenderResult measure(const std::vector<PcmBuffer>& buffers) {
    Clock::time_point now{};
    const auto collector = BufferCollector::create(std::nullopt, [&now] { return now; });
    const auto callback = collector->callback();
    for (const auto& buffer : buffers) {
        now += std::chrono::seconds(1);
        callback(buffer);
    }
    callback(endMarker());
    return collector->result(std::chrono::hours(1));
}

struct MeasurementCase {
    const char* name;
    std::vector<PcmBuffer> buffers;
    RenderResult expected;
};

TEST(MeasurementTest, EachRuleOnChannelZero) {
    const MeasurementCase cases[] = {
        {"end marker only", {}, {0, 0, -1.0, 0}},
        {"signature runs over the samples", {pcm({0.5f, -0.25f}, 1, 100)}, {0.02, 0.5f, 1, 16384 * 31 - 8192}},
        {"samples truncate toward zero", {pcm({1.5f * unit, -1.5f * unit, 0.9f * unit})},
         {3 / 22050.0, 1.5f * unit, -1.0, (1 * 31 - 1) * 31 + 0}},
        {"signature wraps around in 64 bits", {pcm({huge, huge, huge}, 1, 100)},
         {0.03, huge, 1, 15 * (std::uint64_t{1} << 60) + twoTo55}},
        {"negative values enter as their bit pattern", {pcm({-unit, -unit}, 1, 100)},
         {0.02, unit, -1.0, 0xFFFFFFFFFFFFFFE0}},
        {"most negative 64-bit value still counts", {pcm({-tooLarge}, 1, 100)}, {0.01, tooLarge, 1, std::uint64_t{1} << 63}},
        {"NaN and out-of-range samples stay out of the signature; NaN leaves the peak alone",
         {pcm({0.5f, nan, tooLarge, -0.25f}, 1, 100)}, {0.04, tooLarge, 1, 16384 * 31 - 8192}},
        {"an infinite sample is loud but has no signature value", {pcm({0.0f, -infinity}, 1, 100)},
         {0.02, infinity, 1, 0}},
        {"exactly 0.01 is not audible", {pcm({quietest, -quietest, 0.0f}, 1, 100)},
         {0.03, quietest, -1.0, 327 * 31 * 31 - 327 * 31}},
        {"the first sample above 0.01 sets latency", {pcm({quietest}, 1, 100), pcm({0.0f, justAudible}, 1, 100)},
         {0.03, justAudible, 2, 327 * 31 * 31 + 327}},
        {"a negative sample just above 0.01 is audible", {pcm({-quietest}, 1, 100), pcm({-justAudible}, 1, 100)},
         {0.02, justAudible, 2, static_cast<std::uint64_t>(-327 * 31 - 327)}},
        {"later audible samples leave latency alone",
         {pcm({0.0f}, 1, 100), pcm({0.5f}, 1, 100), pcm({0.9f}, 1, 100)}, {0.03, 0.9f, 2, 16384 * 31 + 29491}},
        {"peak keeps the largest magnitude", {pcm({0.2f, -0.7f, 0.3f}, 1, 100)},
         {0.03, 0.7f, 1, (6553 * 31 - 22937) * 31 + 9830}},
        {"other channels are not measured", {pcm({0.5f, 0.9f, -0.25f, -0.9f}, 2, 100)},
         {0.02, 0.5f, 1, 16384 * 31 - 8192}},
        {"audio on channel 1 alone is not audible", {pcm({0.0f, 0.9f, 0.0f, 0.9f}, 2, 100)}, {0.02, 0, -1.0, 0}},
        {"a trailing partial frame is no frame", {pcm({0.5f, 0.1f, 0.25f}, 2, 100)}, {0.01, 0.5f, 1, 16384}},
        {"seconds divide all frames by the last rate",
         {pcm(std::vector<float>(100, 0.0f), 1, 10000), pcm(std::vector<float>(100, 0.0f), 2, 5000)},
         {0.03, 0, -1.0, 0}},
        {"buffers without a usable rate are ignored",
         {pcm({0.5f}, 1, 0), pcm({0.5f}, 1, -22050), pcm({0.5f}, 1, std::nan(""))}, {0, 0, -1.0, 0}},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(measure(test.buffers), test.expected) << test.name;
    }
}

TEST(MeasurementTest, EqualStreamsGiveEqualSignaturesAndOneChangedSampleChangesIt) {
    const std::vector<float> samples{0.1f, -0.2f, 0.3f, -0.4f, 0.5f};
    auto changed = samples;
    changed[2] = 0.3f + 2 * unit;

    const auto first = measure({pcm(samples), pcm(samples)});
    EXPECT_EQ(measure({pcm(samples), pcm(samples)}).signature, first.signature);
    EXPECT_NE(measure({pcm(samples), pcm(changed)}).signature, first.signature);
    EXPECT_NE(measure({pcm(samples)}).signature, first.signature);
}

}  // namespace
}  // namespace velmora
