#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "enhanced/VoiceState.h"

namespace velmora {

// The per-voice states of the enhanced voices and the install task that owns each voice, keyed
// by voice id ("ios6/en-US"). Every report of an install names its task; a task that is no
// longer the voice's registered one (cancelled, or replaced by a newer install) changes nothing,
// so a cancelled voice rests available and a newer task's entry and state are never touched.
class VoiceStateTable {
public:
    using TaskId = std::uint64_t;

    // A started install: its id for the reports, and the source that cancels it.
    struct Task {
        TaskId id = 0;
        std::stop_source stop;
    };

    // The voice's state; available when it has none.
    VoiceState state(const std::string& voiceId) const;
    bool hasTask(const std::string& voiceId) const { return tasks_.contains(voiceId); }
    // The voices that have a state.
    std::vector<std::string> voiceIds() const;

    // Registers a new task and sets the voice downloading(0), unless a task runs for it.
    std::optional<Task> startInstall(const std::string& voiceId);
    // Reports of the task `task`; each returns whether the voice's state changed.
    bool progress(const std::string& voiceId, TaskId task, double fraction);
    bool unpacking(const std::string& voiceId, TaskId task);
    bool finished(const std::string& voiceId, TaskId task, const VoiceState& outcome);

    // Requests cancellation of the voice's task, forgets it, and sets the voice available.
    void cancel(const std::string& voiceId);
    // Cancels and forgets every task.
    void cancelAll();
    // Sets a state outright (removal results, packs found on disk).
    void set(const std::string& voiceId, VoiceState state);
    // Every voice that has a state becomes available.
    void makeAllAvailable();

    // Of `voiceIds`, in order, those an install-all starts: no state or available.
    std::vector<std::string> installAllSelection(const std::vector<std::string>& voiceIds) const;

    std::int64_t installedCount() const;
    // The sizes of the installed voices added up; a sum past the 64-bit range is held at its end.
    std::int64_t installedTotal() const;

private:
    bool owns(const std::string& voiceId, TaskId task) const;

    std::map<std::string, VoiceState> states_;
    std::map<std::string, Task> tasks_;
    TaskId lastTask_ = 0;
};

}  // namespace velmora
