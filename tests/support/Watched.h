#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <utility>

namespace velmora::test {

// A value that threads of the code under test change and the test waits on. Waits end after their
// limit in any case, so that a fault shows as a failed check rather than a hung test.
template <typename T>
class Watched {
public:
    explicit Watched(T initial = {}) : value_(std::move(initial)) {}

    void change(const std::function<void(T&)>& how) {
        std::lock_guard lock(mutex_);
        how(value_);
        changed_.notify_all();
    }
    void set(T value) {
        change([&value](T& current) { current = std::move(value); });
    }
    T current() {
        std::lock_guard lock(mutex_);
        return value_;
    }
    // The value once `done` holds for it, or as it is when `limit` has passed.
    T waitUntil(const std::function<bool(const T&)>& done,
                std::chrono::milliseconds limit = std::chrono::seconds(20)) {
        std::unique_lock lock(mutex_);
        changed_.wait_for(lock, limit, [&] { return done(value_); });
        return value_;
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    T value_;
};

// A door that requests wait behind until it opens; it starts open.
class Gate : public Watched<bool> {
public:
    Gate() : Watched(true) {}
    void open() { set(true); }
    void close() { set(false); }
    // True when the gate opened, false when the wait ran out.
    bool wait() {
        return waitUntil([](bool open) { return open; });
    }
};

}  // namespace velmora::test
