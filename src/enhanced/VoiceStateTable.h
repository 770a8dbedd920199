#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "enhanced/VoiceState.h"

namespace velmora {

// The per-voice states of the enhanced voices and the queue of installs, keyed by voice id
// ("ios6/en-US"). At most `runningLimit` installs run at once; the others wait in the order they
// were asked for, and a voice never has two installs running. Every report of an install names
// its task, so a task that was cancelled or replaced never overwrites a newer one's state. A
// task stays in the table until its outcome arrives, even when cancelled: it still holds its
// place among the running ones, and once past its point of no return (unpacking) it lands.
class VoiceStateTable {
public:
    using TaskId = std::uint64_t;
    static constexpr std::size_t runningLimit = 2;

    // An install to run now: its id for the reports, its voice, and the source that stops it.
    struct Task {
        TaskId id = 0;
        std::string voiceId;
        std::stop_source stop;
    };

    // What cancel() did.
    enum class Cancel { nothing, forgotten, stopping, tooLate };

    // The voice's state; available when it has none.
    VoiceState state(const std::string& voiceId) const;
    // Whether the voice has an install the user has not cancelled, waiting or running.
    bool hasTask(const std::string& voiceId) const { return registered(voiceId) != nullptr; }
    bool hasTaskId(TaskId task) const;
    // The voices that have a state.
    std::vector<std::string> voiceIds() const;

    // Queues an install of the voice, which then waits, unless it has one already.
    std::optional<TaskId> enqueue(const std::string& voiceId);
    // The waiting installs that may start now, in queue order; each is downloading(0) from here
    // on. None while held.
    std::vector<Task> startNext();

    // Reports of the task `task`; each returns whether the voice's state changed.
    bool progress(const std::string& voiceId, TaskId task, double fraction);
    bool unpacking(const std::string& voiceId, TaskId task);
    bool finished(const std::string& voiceId, TaskId task, const VoiceState& outcome);

    // A waiting install is forgotten; a download is asked to stop and the voice is available at
    // once (the task ends soon after); an unpacking install is past its point of no return and
    // goes on, its state unchanged.
    Cancel cancel(const std::string& voiceId);
    bool anyUnpacking() const;
    // Cancels every install and starts none until release(); false, changing nothing, while one
    // unpacks.
    bool cancelAllAndHold();
    void release() { held_ = false; }
    bool held() const { return held_; }
    // No install runs (waiting ones may be queued).
    bool idle() const { return runningCount() == 0; }

    // Sets a state outright (removal results, packs found on disk).
    void set(const std::string& voiceId, VoiceState state);
    // Every voice that has a state and no install becomes available.
    void makeAllAvailable();

    // Of `voiceIds`, in order, those an install-all starts: no state or available.
    std::vector<std::string> installAllSelection(const std::vector<std::string>& voiceIds) const;

    std::int64_t installedCount() const;
    // The sizes of the installed voices added up; a sum past the 64-bit range is held at its end.
    std::int64_t installedTotal() const;

private:
    enum class Phase { waiting, running, cancelling, unpacking };
    struct Entry {
        Task task;
        Phase phase = Phase::waiting;
    };
    Entry* find(TaskId task);
    const Entry* registered(const std::string& voiceId) const;
    bool runs(const std::string& voiceId) const;
    std::size_t runningCount() const;

    std::map<std::string, VoiceState> states_;
    std::vector<Entry> queue_;  // in the order the installs were asked for
    TaskId lastTask_ = 0;
    bool held_ = false;
};

}  // namespace velmora
