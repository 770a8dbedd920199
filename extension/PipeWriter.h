#pragma once

#include <chrono>
#include <span>

namespace velmora::provider {

// Writes an utterance's bytes to the pipe a client handed over. The client may close its end at
// any time (SIGPIPE is ignored, so that shows as EPIPE) or stop reading; either way the writer
// gives up, and every later write fails at once so that the synthesis stops.
class PipeWriter {
public:
    // Longest wait for a client that reads nothing before the writer gives up.
    static constexpr std::chrono::milliseconds stallLimit{20'000};

    explicit PipeWriter(int fd) : fd_(fd) {}

    // True when every byte was written.
    bool write(std::span<const std::byte> bytes);
    bool broken() const { return broken_; }

private:
    bool waitUntilWritable();
    int fd_;
    bool broken_ = false;
};

}  // namespace velmora::provider
