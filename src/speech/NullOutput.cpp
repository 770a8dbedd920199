#include "speech/NullOutput.h"

namespace velmora {

void NullOutput::play(const PcmBuffer& buffer, std::stop_token stop) {
    const auto now = std::chrono::steady_clock::now();
    if (!start_) start_ = now;
    waitUntil(*start_ + std::chrono::duration_cast<std::chrono::steady_clock::duration>(queued_), stop);
    if (buffer.sampleRate > 0)
        queued_ +=
            std::chrono::duration<double>(static_cast<double>(buffer.frameCount()) / buffer.sampleRate);
}

void NullOutput::drain(std::stop_token stop) {
    if (start_)
        waitUntil(*start_ + std::chrono::duration_cast<std::chrono::steady_clock::duration>(queued_), stop);
}

void NullOutput::waitUntil(std::chrono::steady_clock::time_point moment, std::stop_token stop) {
    std::unique_lock lock(mutex_);
    wake_.wait_until(lock, stop, moment, [] { return false; });
}

}  // namespace velmora
