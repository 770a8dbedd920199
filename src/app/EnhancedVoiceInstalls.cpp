// The manager's install queue: installs wait in the state table's order, at most two run, and
// each reports to the window thread by its task id.
#include <algorithm>

#include "app/EnhancedVoiceManager.h"
#include "app/ErrorText.h"
#include "app/ProgressRelay.h"
#include "app/QtText.h"
#include "presenters/Announcements.h"

namespace velmora {

void EnhancedVoiceManager::install(const EnhancedVoice& voice) {
    enqueue(voice,
            [install = services_.install, voice](
                const EnhancedServices::Progress& progress, const EnhancedServices::Unpacking& unpacking,
                std::stop_token stop) { return install(voice, progress, unpacking, std::move(stop)); });
}

void EnhancedVoiceManager::enqueue(const EnhancedVoice& voice, InstallRun run) {
    const VoiceState before = table_.state(voice.id());
    const std::optional<VoiceStateTable::TaskId> task = table_.enqueue(voice.id());
    if (!task) return;
    waitingRuns_.emplace(*task, std::move(run));
    // Said as waiting only when it does not start at once.
    const std::vector<VoiceStateTable::Task> started = table_.startNext();
    if (std::ranges::none_of(started, [&](const auto& t) { return t.id == *task; })) {
        voiceChanged(voice.id(), before);
    }
    for (const auto& next : started) {
        const VoiceState waiting = next.id == *task ? before : VoiceState{VoiceState::Waiting{}};
        launch(next, std::move(waitingRuns_.extract(next.id).mapped()));
        voiceChanged(next.voiceId, waiting);
    }
}

void EnhancedVoiceManager::startWaiting() {
    std::erase_if(waitingRuns_, [this](const auto& entry) { return !table_.hasTaskId(entry.first); });
    for (const auto& next : table_.startNext()) {
        launch(next, std::move(waitingRuns_.extract(next.id).mapped()));
        voiceChanged(next.voiceId, VoiceState{VoiceState::Waiting{}});
    }
}

void EnhancedVoiceManager::launch(const VoiceStateTable::Task& task, InstallRun run) {
    workers_.start(
        [run = std::move(run), task, guard = guard_, workers = &workers_](std::stop_token shutdown) {
            const std::string& voiceId = task.voiceId;
            std::stop_source cancel = task.stop;
            const std::stop_callback onShutdown(shutdown, [cancel]() mutable { cancel.request_stop(); });
            ProgressRelay relay(*workers, [guard, voiceId, id = task.id](double fraction) {
                if (*guard) (*guard)->applyReport(voiceId, id, VoiceState{VoiceState::Downloading{fraction}});
            });
            VoiceState outcome;
            try {
                const auto unpacking = [&] {
                    workers->toWindowThread([guard, voiceId, id = task.id] {
                        if (*guard) (*guard)->applyReport(voiceId, id, VoiceState{VoiceState::Unpacking{}});
                    });
                };
                const auto progress = [&relay](double fraction) { relay.report(fraction); };
                outcome.value = VoiceState::Installed{run(progress, unpacking, cancel.get_token())};
            } catch (...) {
                outcome.value = VoiceState::Failed{errorText(std::current_exception())};
            }
            // Queued after every report above, so none of them lands after the outcome.
            workers->toWindowThread([guard, voiceId, id = task.id, outcome] {
                if (*guard) (*guard)->applyOutcome(voiceId, id, outcome);
            });
        },
        WorkerThreads::Priority::background);
}

void EnhancedVoiceManager::applyReport(const std::string& voiceId, VoiceStateTable::TaskId task,
                                       const VoiceState& report) {
    const VoiceState before = table_.state(voiceId);
    const auto* downloading = std::get_if<VoiceState::Downloading>(&report.value);
    const bool changed =
        downloading ? table_.progress(voiceId, task, downloading->fraction) : table_.unpacking(voiceId, task);
    if (changed) voiceChanged(voiceId, before);
}

void EnhancedVoiceManager::applyOutcome(const std::string& voiceId, VoiceStateTable::TaskId task,
                                        const VoiceState& outcome) {
    const VoiceState before = table_.state(voiceId);
    if (table_.finished(voiceId, task, outcome)) voiceChanged(voiceId, before);
    startWaiting();
    deleteAllOnceIdle();
}

void EnhancedVoiceManager::cancel(const EnhancedVoice& voice) {
    const VoiceState before = table_.state(voice.id());
    const VoiceStateTable::Cancel result = table_.cancel(voice.id());
    if (result == VoiceStateTable::Cancel::tooLate) {
        announce(Announcements::cannotStop(services_.voiceName(voice)));
    } else if (result != VoiceStateTable::Cancel::nothing) {
        voiceChanged(voice.id(), before);
        startWaiting();
    }
}

void EnhancedVoiceManager::installAll(const VoiceRelease& release) {
    std::vector<std::string> voiceIds;
    for (const auto& voice : voicesOf(release)) voiceIds.push_back(voice.id());
    const std::vector<std::string> selected = table_.installAllSelection(voiceIds);
    for (const auto& voice : voicesOf(release)) {
        if (std::ranges::find(selected, voice.id()) != selected.end()) install(voice);
    }
}

void EnhancedVoiceManager::installFromFile(const QUrl& archive) {
    workers_.start([match = services_.matchArchive, catalog = voices_,
                    catalogError = catalogError_.toStdString(),
                    path = std::filesystem::path(archive.toLocalFile().toStdString()), guard = guard_,
                    workers = &workers_](std::stop_token) {
        std::optional<EnhancedVoice> voice;
        std::string failure;
        try {
            voice = match(catalog, path, catalogError);
        } catch (...) {
            failure = errorText(std::current_exception());
        }
        workers->toWindowThread([guard, voice, failure, path] {
            if (*guard) (*guard)->applyArchiveMatch(voice, failure, path);
        });
    });
}

void EnhancedVoiceManager::applyArchiveMatch(const std::optional<EnhancedVoice>& voice,
                                             const std::string& failure,
                                             const std::filesystem::path& archive) {
    if (!voice) {
        setActionError(qtText(failure));
        announce(failure);
        return;
    }
    setActionError({});
    enqueue(*voice,
            [installArchive = services_.installArchive, voice = *voice, archive](
                const EnhancedServices::Progress&, const EnhancedServices::Unpacking& unpacking,
                std::stop_token stop) { return installArchive(voice, archive, unpacking, std::move(stop)); });
}

}  // namespace velmora
