#pragma once

#include <sys/types.h>

#include <atomic>
#include <filesystem>
#include <string>

namespace velmora {

// The installed pack while the enhanced self test compares renders: set aside, and its header
// made unreadable, each undone by the matching call or when the object ends. SIGINT, SIGTERM and
// SIGHUP undo them too, before the signal takes its course, so that an interrupted run leaves the
// container as it found it. One object at a time; create it on the thread that runs the suite.
class PackUnderTest {
public:
    explicit PackUnderTest(const std::filesystem::path& pack);
    ~PackUnderTest();
    PackUnderTest(const PackUnderTest&) = delete;
    PackUnderTest& operator=(const PackUnderTest&) = delete;

    // Moves the pack to its aside location; false when it could not be moved.
    bool setAside();
    void putBack();
    // Remembers the header's permissions (0644 when they cannot be read) and sets them to none.
    void makeHeaderUnreadable();
    void restoreHeader();

    // Undoes what is still changed, with async-signal-safe calls only; safe beside a putBack() or
    // restoreHeader() running on another thread.
    void undoInSignalHandler();

private:
    const std::string pack_;
    const std::string aside_;
    const std::string header_;
    std::atomic<bool> isAside_ = false;
    std::atomic<bool> isHeaderLocked_ = false;
    std::atomic<mode_t> headerMode_ = 0644;
};

}  // namespace velmora
