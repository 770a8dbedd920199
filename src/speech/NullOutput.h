#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>

#include "speech/AudioOutput.h"

namespace velmora {

// Plays nothing, in real time: each buffer is taken when the audio before it would have been
// heard, and drain() returns when the last frame would have been heard.
class NullOutput : public AudioOutput {
public:
    void play(const PcmBuffer& buffer, std::stop_token stop) override;
    void drain(std::stop_token stop) override;
    void discard() override {}

private:
    void waitUntil(std::chrono::steady_clock::time_point moment, std::stop_token stop);

    std::optional<std::chrono::steady_clock::time_point> start_;
    std::chrono::duration<double> queued_{0};
    std::mutex mutex_;
    std::condition_variable_any wake_;
};

}  // namespace velmora
