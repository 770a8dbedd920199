#pragma once

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

#include "selftest/CafDump.h"
#include "selftest/RenderResult.h"
#include "speech/SpeechTypes.h"

namespace velmora {

// Measures one render as its buffers arrive, optionally writing them to a Core Audio Format
// file, and hands the result to the one caller that waits for it. Buffers may arrive on any
// thread; one mutex guards all state. Each render has a collector of its own.
class BufferCollector : public std::enable_shared_from_this<BufferCollector> {
public:
    using Clock = std::chrono::steady_clock;
    using Now = std::function<Clock::time_point()>;

    // A fresh collector whose start is now. `now` reads the clock that latency is measured
    // against.
    static std::shared_ptr<BufferCollector> create(std::optional<std::filesystem::path> dumpTo = std::nullopt,
                                                   Now now = Clock::now);

    // The function to hand to the renderer. It keeps the collector alive for as long as the
    // renderer holds it, so buffers arriving after the result was taken are harmless.
    BufferCallback callback();

    // Blocks until the end of the stream was seen or `timeout` has passed, whichever comes
    // first, and returns what was collected by then. A timed-out render is not reported as
    // such: the result simply holds the audio received so far.
    RenderResult result(std::chrono::duration<double> timeout);

private:
    BufferCollector(std::optional<std::filesystem::path> dumpTo, Now now);

    void receive(const PcmBuffer& buffer);
    void measureChannelZero(const PcmBuffer& buffer);
    void dump(const PcmBuffer& buffer);
    void finish();

    const Now now_;
    const Clock::time_point start_;
    const std::optional<std::filesystem::path> dumpTo_;

    std::mutex lock_;
    std::condition_variable finishedChanged_;
    double frames_ = 0;              // guarded by lock_
    double rate_ = 1.0;              // guarded by lock_; the last non-empty buffer's sample rate
    RenderResult value_;             // guarded by lock_
    std::unique_ptr<CafDump> file_;  // guarded by lock_
    bool finished_ = false;          // guarded by lock_
};

}  // namespace velmora
