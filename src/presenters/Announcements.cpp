#include "presenters/Announcements.h"

#include "presenters/EnhancedTexts.h"

namespace velmora {
namespace {

using State = VoiceState;

std::string text(std::string_view part) { return std::string(part); }

// The milestone a download has passed at `fraction`: 0, 25, 50 or 75.
int milestone(double fraction) {
    const int percent = EnhancedTexts::percent(fraction);
    return std::min(percent / Announcements::milestoneStep * Announcements::milestoneStep, 75);
}

std::optional<std::string> progressed(std::string_view name, const State& before, const State& after) {
    const double from = std::get<State::Downloading>(before.value).fraction;
    const double to = std::get<State::Downloading>(after.value).fraction;
    if (milestone(to) <= milestone(from)) return std::nullopt;
    return text(name) + ", " + std::to_string(milestone(to)) + " percent downloaded.";
}

}  // namespace

std::optional<std::string> Announcements::voiceChanged(std::string_view name, std::int64_t downloadSize,
                                                       const VoiceState& before, const VoiceState& after) {
    if (before == after) return std::nullopt;
    if (after.is<State::Downloading>()) {
        if (before.is<State::Downloading>()) return progressed(name, before, after);
        return "Downloading " + text(name) + ", " + EnhancedTexts::size(downloadSize) + ".";
    }
    if (after.is<State::Waiting>()) return text(name) + " waits; two voices download at a time.";
    if (after.is<State::Unpacking>()) return "Unpacking " + text(name) + ".";
    if (const auto* installed = std::get_if<State::Installed>(&after.value)) {
        if (before.is<State::Available>() || before.is<State::Installed>()) return std::nullopt;
        return text(name) + " installed, " + EnhancedTexts::size(installed->size) + ".";
    }
    if (const auto* failed = std::get_if<State::Failed>(&after.value)) {
        return text(name) + " failed: " + failed->message;
    }
    if (before.is<State::Installed>()) return text(name) + " removed.";
    if (before.is<State::Waiting>()) return text(name) + " no longer waits.";
    return "Stopped downloading " + text(name) + ".";
}

std::string Announcements::removalFailed(std::string_view name, std::string_view message) {
    return text(name) + " could not be removed: " + text(message);
}

std::string Announcements::cannotStop(std::string_view name) {
    return text(name) + " is being unpacked and can no longer stop.";
}

std::string Announcements::deleteAllDone() { return "All enhanced voices deleted."; }

std::string Announcements::deleteAllWaits() {
    return "Stopping downloads; the voices are deleted once they have stopped.";
}

std::string Announcements::deleteAllRefused() {
    return "A voice is being unpacked. Delete all voices once it is installed.";
}

std::string Announcements::deleteAllFailed(std::string_view message) {
    return "Not every voice could be deleted: " + text(message);
}

std::string Announcements::catalogLoading() { return text(EnhancedTexts::loading); }

std::string Announcements::catalogLoaded(std::size_t voiceCount) {
    return "Catalog loaded, " + std::to_string(voiceCount) + (voiceCount == 1 ? " voice." : " voices.");
}

std::string Announcements::catalogFailed(std::string_view message) {
    return "The catalog could not be read: " + text(message);
}

}  // namespace velmora
