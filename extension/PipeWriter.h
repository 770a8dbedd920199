#pragma once

#include <span>

namespace velmora::provider {

// Writes an utterance's bytes to the pipe a client handed over, waiting as long as the client
// takes to read: a reader that pauses gets every byte once it reads again. A client that closes
// its end (SIGPIPE is ignored, so that shows as EPIPE) ends the utterance: every later write
// fails at once so that the synthesis stops.
class PipeWriter {
public:
    explicit PipeWriter(int fd);

    // True when every byte was written.
    bool write(std::span<const std::byte> bytes);
    bool broken() const { return broken_; }

private:
    int fd_;
    bool broken_ = false;
};

}  // namespace velmora::provider
