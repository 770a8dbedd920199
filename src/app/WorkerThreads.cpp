#include "app/WorkerThreads.h"

#include <sys/resource.h>
#include <unistd.h>

#include <QMetaObject>
#include <QTimer>

namespace velmora {

WorkerThreads::WorkerThreads(QObject* parent) : QObject(parent) {}

WorkerThreads::~WorkerThreads() {
    std::list<Worker> workers;
    {
        std::lock_guard lock(mutex_);
        workers.swap(workers_);
    }
    for (auto& worker : workers) worker.thread.request_stop();
    // The jthreads join as the list goes.
}

void WorkerThreads::start(std::function<void(std::stop_token)> work, Priority priority) {
    auto done = std::make_shared<std::atomic<bool>>(false);
    std::jthread thread([work = std::move(work), done, priority](std::stop_token stop) {
        // On Linux the nice value is per thread.
        if (priority == Priority::background) ::setpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()), 10);
        work(stop);
        done->store(true);
    });
    std::lock_guard lock(mutex_);
    reapFinished();
    workers_.push_back(Worker{std::move(done), std::move(thread)});
}

void WorkerThreads::toWindowThread(std::function<void()> job) {
    ++posted_;
    {
        std::lock_guard lock(jobsMutex_);
        jobs_.push_back(std::move(job));
    }
    // The job itself travels in a queue of ours behind a standard mutex, so that the hand-over
    // between threads is visible to the thread sanitizer, which cannot see Qt's own event-queue
    // locks; the queued call, made by name so that Qt alone builds it, only says that one more job
    // waits.
    QMetaObject::invokeMethod(this, "runNextJob", Qt::QueuedConnection);
}

void WorkerThreads::runNextJob() {
    std::function<void()> job;
    {
        std::lock_guard lock(jobsMutex_);
        job = std::move(jobs_.front());
        jobs_.pop_front();
    }
    job();
}

void WorkerThreads::postAfter(std::chrono::milliseconds delay, std::function<void()> job) {
    ++posted_;
    QTimer::singleShot(delay, this, std::move(job));
}

std::size_t WorkerThreads::running() {
    std::lock_guard lock(mutex_);
    reapFinished();
    return workers_.size();
}

void WorkerThreads::reapFinished() {
    workers_.remove_if([](const Worker& worker) { return worker.done->load(); });
}

}  // namespace velmora
