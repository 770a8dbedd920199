#include "selftest/BufferCollector.h"

#include <cmath>
#include <cstdint>

namespace velmora {
namespace {

constexpr float audibleThreshold = 0.01f;
constexpr float signatureScale = 32768.0f;
constexpr std::uint64_t signatureMultiplier = 31;

// The sample scaled to 16-bit full scale and truncated toward zero. A scaled value outside the
// 64-bit range (NaN, an infinity, a huge sample) has no integer, and converting it would be
// undefined, so such a sample is left out of the signature.
std::optional<std::int64_t> signatureValue(float sample) {
    constexpr float limit = 9223372036854775808.0f;  // 2^63, exact in float
    const float scaled = sample * signatureScale;
    if (!(scaled >= -limit && scaled < limit)) return std::nullopt;
    return static_cast<std::int64_t>(scaled);
}

// A buffer the collector can measure: a sample rate that divides a frame count into seconds.
bool hasUsableRate(const PcmBuffer& buffer) {
    return std::isfinite(buffer.sampleRate) && buffer.sampleRate > 0;
}

}  // namespace

std::shared_ptr<BufferCollector> BufferCollector::create(std::optional<std::filesystem::path> dumpTo,
                                                         Now now) {
    return std::shared_ptr<BufferCollector>(new BufferCollector(std::move(dumpTo), std::move(now)));
}

BufferCollector::BufferCollector(std::optional<std::filesystem::path> dumpTo, Now now)
    : now_(std::move(now)), start_(now_()), dumpTo_(std::move(dumpTo)) {}

BufferCallback BufferCollector::callback() {
    return [self = shared_from_this()](const PcmBuffer& buffer) { self->receive(buffer); };
}

void BufferCollector::receive(const PcmBuffer& buffer) {
    const bool endOfStream = buffer.frameCount() == 0;
    if (!endOfStream && !hasUsableRate(buffer)) return;
    std::unique_lock guard(lock_);
    // Buffers after the end marker or the timeout change nothing: the result may already be
    // delivered, and the dump is complete.
    if (finished_) return;
    if (endOfStream) {
        finish();
        guard.unlock();
        finishedChanged_.notify_all();
        return;
    }
    rate_ = buffer.sampleRate;
    frames_ += static_cast<double>(buffer.frameCount());
    measureChannelZero(buffer);
    dump(buffer);
}

void BufferCollector::measureChannelZero(const PcmBuffer& buffer) {
    const std::size_t stride = static_cast<std::size_t>(buffer.channels);
    const std::size_t end = buffer.frameCount() * stride;
    for (std::size_t index = 0; index < end; index += stride) {
        const float sample = buffer.samples[index];
        const float magnitude = std::fabs(sample);
        if (value_.peak <= magnitude) value_.peak = magnitude;
        if (magnitude > audibleThreshold && value_.latency < 0) {
            value_.latency = std::chrono::duration<double>(now_() - start_).count();
        }
        if (const auto scaled = signatureValue(sample)) {
            value_.signature = value_.signature * signatureMultiplier + static_cast<std::uint64_t>(*scaled);
        }
    }
}

void BufferCollector::dump(const PcmBuffer& buffer) {
    if (!dumpTo_) return;
    // A file that could not be created is tried again with the next buffer.
    if (!file_) file_ = CafDump::create(*dumpTo_, buffer);
    if (file_) file_->append(buffer);
}

void BufferCollector::finish() {
    finished_ = true;
    file_.reset();
}

RenderResult BufferCollector::result(std::chrono::duration<double> timeout) {
    const auto deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(timeout);
    std::unique_lock guard(lock_);
    finishedChanged_.wait_until(guard, deadline, [this] { return finished_; });
    // On a timeout the collector stops here, so the dump is closed before the result leaves.
    if (!finished_) finish();
    RenderResult result = value_;
    result.seconds = frames_ / rate_;
    return result;
}

}  // namespace velmora
