#pragma once

#include <signal.h>

#include <stop_token>
#include <thread>

#include "base/UniqueFd.h"

namespace velmora::cli {

// Turns Ctrl-C (SIGINT) and SIGTERM into a stop request while it lives, so that a transfer
// ends cleanly and an install removes its staging folder. The signals are blocked in this thread
// (and the threads it starts) and read from a signalfd by a watcher thread, which an eventfd
// wakes at once when the watch ends: a command finishes without waiting for a polling interval.
class InterruptWatch {
public:
    InterruptWatch();
    ~InterruptWatch();
    InterruptWatch(const InterruptWatch&) = delete;
    InterruptWatch& operator=(const InterruptWatch&) = delete;

    std::stop_token token() const { return interrupted_.get_token(); }

private:
    void watch();

    sigset_t previous_{};
    UniqueFd signalFd_;
    UniqueFd wakeFd_;
    std::stop_source interrupted_;
    std::jthread watcher_;
};

}  // namespace velmora::cli
