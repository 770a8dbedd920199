#pragma once

#include <QObject>
#include <QPointer>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <stop_token>
#include <thread>

namespace velmora {

// Owns the threads that do the program's long work (installs, catalog reads, voice-list reads)
// for as long as the process lives, and is the GUI-thread end that their results are posted to.
// A screen that goes away leaves its work running here; when the owner itself ends, it asks
// every thread to stop and waits for it, so no thread outlives the state it reports to.
class WorkerThreads : public QObject {
    Q_OBJECT
public:
    explicit WorkerThreads(QObject* parent = nullptr);
    ~WorkerThreads() override;

    // How a thread competes with the window's thread for the processor: long downloads, hashing
    // and unpacking run at a lower priority, so that the window stays responsive on a busy machine.
    enum class Priority { normal, background };

    // Runs `work` on a new thread; its token is stopped when this owner ends.
    void start(std::function<void(std::stop_token)> work, Priority priority = Priority::normal);
    // Runs `job` on the window thread (this object's), after every job handed over before it.
    // Any thread.
    void toWindowThread(std::function<void()> job);
    // Threads whose work has not returned yet.
    std::size_t running();
    // Runs `job` on this object's thread once `delay` has passed. GUI thread only.
    void postAfter(std::chrono::milliseconds delay, std::function<void()> job);
    // Jobs posted so far.
    std::uint64_t postedJobs() const { return posted_.load(); }

private:
    struct Worker {
        std::shared_ptr<std::atomic<bool>> done;
        std::jthread thread;
    };
    void reapFinished();
    Q_INVOKABLE void runNextJob();

    std::mutex mutex_;
    std::list<Worker> workers_;
    std::atomic<std::uint64_t> posted_{0};
    std::mutex jobsMutex_;
    std::deque<std::function<void()>> jobs_;
};

// Holds an object weakly for work on other threads: they may copy the guard freely, but only
// the object's own thread may look at what it points to.
template <typename T>
using GuiGuard = std::shared_ptr<const QPointer<T>>;

template <typename T>
GuiGuard<T> guardOf(T* object) {
    return std::make_shared<const QPointer<T>>(object);
}

}  // namespace velmora
