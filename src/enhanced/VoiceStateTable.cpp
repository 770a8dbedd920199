#include "enhanced/VoiceStateTable.h"

#include <algorithm>
#include <limits>

namespace velmora {

VoiceState VoiceStateTable::state(const std::string& voiceId) const {
    const auto found = states_.find(voiceId);
    return found == states_.end() ? VoiceState{} : found->second;
}

std::vector<std::string> VoiceStateTable::voiceIds() const {
    std::vector<std::string> ids;
    for (const auto& [voiceId, state] : states_) ids.push_back(voiceId);
    return ids;
}

bool VoiceStateTable::hasTaskId(TaskId task) const {
    return std::ranges::any_of(queue_, [task](const Entry& entry) { return entry.task.id == task; });
}

VoiceStateTable::Entry* VoiceStateTable::find(TaskId task) {
    const auto found =
        std::ranges::find_if(queue_, [task](const Entry& entry) { return entry.task.id == task; });
    return found == queue_.end() ? nullptr : &*found;
}

const VoiceStateTable::Entry* VoiceStateTable::registered(const std::string& voiceId) const {
    const auto found = std::ranges::find_if(queue_, [&voiceId](const Entry& entry) {
        return entry.task.voiceId == voiceId && entry.phase != Phase::cancelling;
    });
    return found == queue_.end() ? nullptr : &*found;
}

bool VoiceStateTable::runs(const std::string& voiceId) const {
    return std::ranges::any_of(queue_, [&voiceId](const Entry& entry) {
        return entry.task.voiceId == voiceId && entry.phase != Phase::waiting;
    });
}

std::size_t VoiceStateTable::runningCount() const {
    return static_cast<std::size_t>(
        std::ranges::count_if(queue_, [](const Entry& entry) { return entry.phase != Phase::waiting; }));
}

std::optional<VoiceStateTable::TaskId> VoiceStateTable::enqueue(const std::string& voiceId) {
    if (hasTask(voiceId)) return std::nullopt;
    states_[voiceId] = VoiceState{VoiceState::Waiting{}};
    queue_.push_back(Entry{Task{++lastTask_, voiceId, std::stop_source()}, Phase::waiting});
    return lastTask_;
}

std::vector<VoiceStateTable::Task> VoiceStateTable::startNext() {
    std::vector<Task> started;
    if (held_) return started;
    for (auto& entry : queue_) {
        if (runningCount() >= runningLimit) break;
        // A cancelled install of the same voice is still winding down: this one waits for it.
        if (entry.phase != Phase::waiting || runs(entry.task.voiceId)) continue;
        entry.phase = Phase::running;
        states_[entry.task.voiceId] = VoiceState{VoiceState::Downloading{0}};
        started.push_back(entry.task);
    }
    return started;
}

bool VoiceStateTable::progress(const std::string& voiceId, TaskId task, double fraction) {
    const Entry* entry = find(task);
    if (!entry || entry->phase != Phase::running) return false;
    VoiceState& current = states_[voiceId];
    const VoiceState next{VoiceState::Downloading{fraction}};
    if (!current.is<VoiceState::Downloading>() || current == next) return false;
    current = next;
    return true;
}

bool VoiceStateTable::unpacking(const std::string& voiceId, TaskId task) {
    Entry* entry = find(task);
    if (!entry || entry->phase == Phase::waiting || entry->phase == Phase::unpacking) return false;
    // A stop that came too late: the install goes on, and says so, unless the voice was asked for
    // again meanwhile.
    if (entry->phase == Phase::cancelling && hasTask(voiceId)) return false;
    entry->phase = Phase::unpacking;
    states_[voiceId] = VoiceState{VoiceState::Unpacking{}};
    return true;
}

bool VoiceStateTable::finished(const std::string& voiceId, TaskId task, const VoiceState& outcome) {
    const Entry* entry = find(task);
    if (!entry) return false;
    const bool cancelled = entry->phase == Phase::cancelling;
    std::erase_if(queue_, [task](const Entry& e) { return e.task.id == task; });
    // A cancelled install that landed anyway is on disk; one that stopped rests available.
    if (cancelled && (!outcome.is<VoiceState::Installed>() || hasTask(voiceId))) return false;
    states_[voiceId] = outcome;
    return true;
}

VoiceStateTable::Cancel VoiceStateTable::cancel(const std::string& voiceId) {
    const Entry* found = registered(voiceId);
    if (!found) return Cancel::nothing;
    Entry& entry = *find(found->task.id);
    switch (entry.phase) {
        case Phase::unpacking:
            return Cancel::tooLate;
        case Phase::waiting:
            std::erase_if(queue_, [id = entry.task.id](const Entry& e) { return e.task.id == id; });
            states_[voiceId] = VoiceState{};
            return Cancel::forgotten;
        default:
            entry.task.stop.request_stop();
            entry.phase = Phase::cancelling;
            states_[voiceId] = VoiceState{};
            return Cancel::stopping;
    }
}

bool VoiceStateTable::anyUnpacking() const {
    return std::ranges::any_of(queue_, [](const Entry& entry) { return entry.phase == Phase::unpacking; });
}

bool VoiceStateTable::cancelAllAndHold() {
    if (anyUnpacking()) return false;
    std::vector<std::string> voiceIds;
    for (const auto& entry : queue_) {
        if (entry.phase != Phase::cancelling) voiceIds.push_back(entry.task.voiceId);
    }
    for (const auto& voiceId : voiceIds) cancel(voiceId);
    held_ = true;
    return true;
}

void VoiceStateTable::set(const std::string& voiceId, VoiceState state) {
    states_[voiceId] = std::move(state);
}

void VoiceStateTable::makeAllAvailable() {
    for (auto& [voiceId, state] : states_) {
        if (!hasTask(voiceId)) state = VoiceState{};
    }
}

std::vector<std::string> VoiceStateTable::installAllSelection(
    const std::vector<std::string>& voiceIds) const {
    std::vector<std::string> selected;
    for (const auto& voiceId : voiceIds) {
        if (state(voiceId).is<VoiceState::Available>()) selected.push_back(voiceId);
    }
    return selected;
}

std::int64_t VoiceStateTable::installedCount() const {
    std::int64_t count = 0;
    for (const auto& [voiceId, state] : states_) count += state.is<VoiceState::Installed>() ? 1 : 0;
    return count;
}

std::int64_t VoiceStateTable::installedTotal() const {
    constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();
    constexpr std::int64_t smallest = std::numeric_limits<std::int64_t>::min();
    std::int64_t total = 0;
    for (const auto& [voiceId, state] : states_) {
        if (const auto* installed = std::get_if<VoiceState::Installed>(&state.value)) {
            std::int64_t sum = 0;
            total = __builtin_add_overflow(total, installed->size, &sum)
                        ? (installed->size > 0 ? largest : smallest)
                        : sum;
        }
    }
    return total;
}

}  // namespace velmora
