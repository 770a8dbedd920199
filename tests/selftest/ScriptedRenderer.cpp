#include "selftest/ScriptedRenderer.h"

namespace velmora::test {

ScriptedRenderer::ScriptedRenderer(std::vector<PcmBuffer> early, std::vector<PcmBuffer> late)
    : early_(std::move(early)), late_(std::move(late)) {}

ScriptedRenderer::~ScriptedRenderer() { releaseAndJoin(); }

void ScriptedRenderer::write(const Utterance& utterance, BufferCallback callback) {
    releaseAndJoin();
    {
        std::lock_guard lock(mutex_);
        released_ = false;
    }
    ++writes_;
    lastUtterance_ = utterance;
    thread_ = std::thread([this, callback = std::move(callback)]() mutable { deliver(std::move(callback)); });
}

void ScriptedRenderer::deliver(BufferCallback callback) {
    for (const auto& buffer : early_) callback(buffer);
    std::unique_lock lock(mutex_);
    releasedChanged_.wait(lock, [this] { return released_; });
    lock.unlock();
    for (const auto& buffer : late_) callback(buffer);
}

void ScriptedRenderer::releaseAndJoin() {
    {
        std::lock_guard lock(mutex_);
        released_ = true;
    }
    releasedChanged_.notify_all();
    if (thread_.joinable()) thread_.join();
}

PcmBuffer pcm(std::vector<float> samples, int channels, double sampleRate) {
    return PcmBuffer{std::move(samples), channels, sampleRate};
}

PcmBuffer endMarker() { return PcmBuffer{{}, 1, 22050}; }

}  // namespace velmora::test
