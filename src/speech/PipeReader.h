#pragma once

#include <chrono>
#include <cstddef>
#include <span>
#include <stop_token>

#include "base/UniqueFd.h"

namespace velmora {

// Reads the read end of a pipe until end of file, giving up when a stop is requested or when
// no byte arrives for `stallTimeout`.
class PipeReader {
public:
    enum class Event { data, endOfFile, stalled, stopped, failed };

    PipeReader(UniqueFd readEnd, std::stop_token stop, std::chrono::milliseconds stallTimeout);
    ~PipeReader();
    PipeReader(const PipeReader&) = delete;
    PipeReader& operator=(const PipeReader&) = delete;

    // Waits for the next bytes; on `data`, `count` tells how many of `buffer` were filled.
    Event read(std::span<std::byte> buffer, std::size_t& count);

private:
    UniqueFd readEnd_;
    UniqueFd wake_;  // an eventfd that the stop callback signals
    std::stop_token stop_;
    std::chrono::milliseconds stallTimeout_;
};

}  // namespace velmora
