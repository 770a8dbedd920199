#include "enhanced/VoiceStateTable.h"

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

std::optional<VoiceStateTable::Task> VoiceStateTable::startInstall(const std::string& voiceId) {
    if (hasTask(voiceId)) return std::nullopt;
    states_[voiceId] = VoiceState{VoiceState::Downloading{0}};
    Task task{++lastTask_, std::stop_source()};
    tasks_.emplace(voiceId, task);
    return task;
}

bool VoiceStateTable::owns(const std::string& voiceId, TaskId task) const {
    const auto found = tasks_.find(voiceId);
    return found != tasks_.end() && found->second.id == task;
}

bool VoiceStateTable::progress(const std::string& voiceId, TaskId task, double fraction) {
    if (!owns(voiceId, task)) return false;
    VoiceState& current = states_[voiceId];
    if (!current.is<VoiceState::Downloading>()) return false;
    const VoiceState next{VoiceState::Downloading{fraction}};
    if (current == next) return false;
    current = next;
    return true;
}

bool VoiceStateTable::unpacking(const std::string& voiceId, TaskId task) {
    if (!owns(voiceId, task)) return false;
    states_[voiceId] = VoiceState{VoiceState::Unpacking{}};
    return true;
}

bool VoiceStateTable::finished(const std::string& voiceId, TaskId task, const VoiceState& outcome) {
    if (!owns(voiceId, task)) return false;
    tasks_.erase(voiceId);
    states_[voiceId] = outcome;
    return true;
}

void VoiceStateTable::cancel(const std::string& voiceId) {
    if (const auto found = tasks_.find(voiceId); found != tasks_.end()) {
        found->second.stop.request_stop();
        tasks_.erase(found);
    }
    states_[voiceId] = VoiceState{};
}

void VoiceStateTable::cancelAll() {
    for (auto& [voiceId, task] : tasks_) task.stop.request_stop();
    tasks_.clear();
}

void VoiceStateTable::set(const std::string& voiceId, VoiceState state) {
    states_[voiceId] = std::move(state);
}

void VoiceStateTable::makeAllAvailable() {
    for (auto& [voiceId, state] : states_) state = VoiceState{};
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
