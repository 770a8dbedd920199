#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "selftest/BufferCollector.h"
#include "selftest/RenderResultPrinting.h"
#include "selftest/ScriptedRenderer.h"

namespace velmora {
namespace {

using test::endMarker;
using test::pcm;
using test::ScriptedRenderer;
using namespace std::chrono_literals;

// Long enough that reaching it means the end of the stream was missed; CTest's time limit
// turns such a hang into a failure.
constexpr auto forever = std::chrono::hours(1);

TEST(WaitTest, StreamThatEndedBeforeTheWaitIsDeliveredAtOnce) {
    const auto collector = BufferCollector::create();
    const auto callback = collector->callback();
    callback(pcm({0.5f}, 1, 100));
    callback(endMarker());

    const auto result = collector->result(forever);
    EXPECT_DOUBLE_EQ(result.seconds, 0.01);
    EXPECT_EQ(result.peak, 0.5f);
    EXPECT_GE(result.latency, 0.0);
}

TEST(WaitTest, StreamThatEndsWhileWaitingWakesTheWaiter) {
    ScriptedRenderer renderer({pcm({0.5f}, 1, 100)}, {pcm({-0.25f}, 1, 100), endMarker()});
    const auto collector = BufferCollector::create();
    renderer.write(Utterance{}, collector->callback());
    // Holds the rest of the stream back until the waiter has most likely started waiting;
    // either order must give the same result.
    std::jthread releaser([&renderer] {
        std::this_thread::sleep_for(50ms);
        renderer.releaseAndJoin();
    });

    const auto result = collector->result(forever);
    EXPECT_DOUBLE_EQ(result.seconds, 0.02);
    EXPECT_EQ(result.signature, 16384u * 31 - 8192);
}

TEST(WaitTest, StreamWithoutEndGivesWhatArrivedWhenTheTimeoutPasses) {
    ScriptedRenderer renderer({pcm({0.5f}, 1, 100)}, {pcm({0.9f, 0.9f}, 1, 50), endMarker()});
    const auto collector = BufferCollector::create();
    renderer.write(Utterance{}, collector->callback());

    const auto waitStarted = std::chrono::steady_clock::now();
    const auto result = collector->result(100ms);
    EXPECT_GE(std::chrono::steady_clock::now() - waitStarted, 100ms);
    EXPECT_DOUBLE_EQ(result.seconds, 0.01);
    EXPECT_EQ(result.peak, 0.5f);
    EXPECT_EQ(result.signature, 16384u);

    // Buffers after the timeout change nothing, not even a result taken again.
    renderer.releaseAndJoin();
    EXPECT_EQ(collector->result(0s), result);
}

TEST(WaitTest, BuffersAfterTheEndMarkerAreNotCounted) {
    const auto collector = BufferCollector::create();
    const auto callback = collector->callback();
    callback(pcm({0.25f}, 1, 100));
    callback(endMarker());
    callback(pcm({0.75f, 0.75f}, 1, 50));

    const auto result = collector->result(forever);
    EXPECT_DOUBLE_EQ(result.seconds, 0.01);
    EXPECT_EQ(result.peak, 0.25f);
}

TEST(WaitTest, CollectorOutlivesTheRenderWhileTheRendererHoldsItsCallback) {
    ScriptedRenderer renderer({}, {pcm({0.5f}), endMarker()});
    RenderResult result;
    {
        const auto collector = BufferCollector::create();
        renderer.write(Utterance{}, collector->callback());
        result = collector->result(10ms);
    }
    renderer.releaseAndJoin();  // delivers into the collector that only the callback still owns
    EXPECT_EQ(result, RenderResult{});
}

}  // namespace
}  // namespace velmora
