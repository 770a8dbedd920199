#include "app/ProgressRelay.h"

namespace velmora {

ProgressRelay::ProgressRelay(WorkerThreads& workers, Apply apply)
    : shared_(std::make_shared<Shared>(&workers, std::move(apply))) {}

void ProgressRelay::report(double fraction) {
    shared_->newest.store(fraction);
    if (shared_->scheduled.exchange(true)) return;
    shared_->workers->toWindowThread([shared = shared_] { flush(shared); });
}

void ProgressRelay::flush(const std::shared_ptr<Shared>& shared) {
    shared->applied = shared->newest.load();
    shared->apply(shared->applied);
    shared->workers->postAfter(interval, [shared] {
        shared->scheduled.store(false);
        // A report that came in the meantime found a job scheduled and left its fraction here.
        if (shared->newest.load() != shared->applied && !shared->scheduled.exchange(true)) flush(shared);
    });
}

}  // namespace velmora
