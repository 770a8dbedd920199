#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>

#include "app/WorkerThreads.h"

namespace velmora {

// Carries a download's progress from its worker thread to the GUI thread at most once per
// interval: the worker only stores the newest fraction, and a job on the GUI thread applies it,
// then looks again one interval later. A fast download thus costs the GUI thread a few dozen
// jobs a second however many reports it makes, and the newest fraction always lands. Reports
// applied after the install's outcome are dropped by the state table, which takes progress only
// for a downloading voice of the same task.
class ProgressRelay {
public:
    using Apply = std::function<void(double fraction)>;  // called on the GUI thread
    static constexpr std::chrono::milliseconds interval{16};

    ProgressRelay(WorkerThreads& workers, Apply apply);
    // Any thread.
    void report(double fraction);

private:
    struct Shared {
        WorkerThreads* workers;
        Apply apply;
        std::atomic<double> newest{0};
        std::atomic<bool> scheduled{false};
        double applied = -1;  // GUI thread only
    };
    static void flush(const std::shared_ptr<Shared>& shared);

    std::shared_ptr<Shared> shared_;
};

}  // namespace velmora
