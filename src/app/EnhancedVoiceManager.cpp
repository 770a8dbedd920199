#include "app/EnhancedVoiceManager.h"

#include <algorithm>

#include "app/ProgressRelay.h"
#include "app/QtText.h"
#include "enhanced/Sha1.h"
#include "enhanced/VoiceInstaller.h"
#include "presenters/EnhancedTexts.h"

namespace velmora {
namespace {

std::string textOf(const std::exception_ptr& error) {
    try {
        std::rethrow_exception(error);
    } catch (const std::exception& failure) {
        return failure.what();
    } catch (...) {
        return "The operation failed.";
    }
}

}  // namespace

EnhancedVoiceManager::EnhancedVoiceManager(EnhancedServices services, WorkerThreads& workers, QObject* parent)
    : QObject(parent),
      services_(std::move(services)),
      workers_(workers),
      guard_(guardOf(this)),
      rows_({services_.voiceName, services_.languageName},
            [this](const std::string& voiceId) { return table_.state(voiceId); }) {
    if (services_.containerProblem) containerProblem_ = qtText(services_.containerProblem().value_or(""));
}

EnhancedVoiceManager::~EnhancedVoiceManager() = default;

std::int64_t EnhancedVoiceManager::download(const EnhancedVoice& voice,
                                            const EnhancedServices::Progress& progress,
                                            const EnhancedServices::Unpacking& unpacking,
                                            std::stop_token stop) {
    return VoiceInstaller(voice, progress, unpacking, std::move(stop)).run();
}

std::vector<std::byte> EnhancedVoiceManager::digest(const std::filesystem::path& file) {
    return Sha1::ofFile(file);
}

std::vector<EnhancedVoice> EnhancedVoiceManager::voicesOf(const VoiceRelease& release) const {
    std::vector<EnhancedVoice> matching;
    std::ranges::copy_if(voices_, std::back_inserter(matching),
                         [&release](const EnhancedVoice& voice) { return voice.release == release; });
    return matching;
}

QString EnhancedVoiceManager::installedSizeText() const {
    return qtText(EnhancedTexts::size(installedTotal()));
}

QString EnhancedVoiceManager::deleteAllAccessibleName() const {
    return qtText(EnhancedTexts::deleteAllAccessibleName(installedCount(), installedTotal()));
}

QString EnhancedVoiceManager::deleteAllMessage() const {
    return qtText(EnhancedTexts::deleteAllMessage(installedCount(), installedTotal()));
}

void EnhancedVoiceManager::load() {
    loadStarted();
    workers_.start([services = services_, guard = guard_, workers = &workers_](std::stop_token stop) {
        services.addMissingDictionaries();
        auto packs = services.installedPacks();
        auto problem = services.containerProblem();
        workers->post([guard, packs, problem] {
            if (!*guard) return;
            (*guard)->applyInstalled(packs);
            (*guard)->setContainerProblem(problem);
        });
        try {
            auto voices = services.fetchCatalog(stop);
            workers->post([guard, voices = std::move(voices), packs = services.installedPacks()]() mutable {
                if (*guard) (*guard)->applyCatalog(std::move(voices), std::move(packs));
            });
        } catch (...) {
            workers->post([guard, text = textOf(std::current_exception())] {
                if (*guard) (*guard)->applyLoadFailure(qtText(text));
            });
        }
    });
}

void EnhancedVoiceManager::applyInstalled(const std::vector<InstalledVoice>& packs) {
    std::vector<std::string> changed;
    for (const auto& pack : packs) {
        const std::string voiceId = pack.release.name + "/" + pack.locale;
        table_.set(voiceId, VoiceState{VoiceState::Installed{pack.sizeInBytes}});
        changed.push_back(voiceId);
    }
    statesChanged(changed);
}

void EnhancedVoiceManager::applyCatalog(std::vector<EnhancedVoice> voices,
                                        std::vector<InstalledVoice> packs) {
    const bool showedRow = showsLoadingRow();
    voices_ = std::move(voices);
    rows_.setVoices(voices_);
    emit voicesChanged();
    setCatalogError({});
    applyInstalled(packs);
    loadEnded(showedRow);
}

void EnhancedVoiceManager::applyLoadFailure(const QString& text) {
    setCatalogError(text);
    loadEnded(showsLoadingRow());
}

void EnhancedVoiceManager::loadStarted() {
    const bool showedRow = showsLoadingRow();
    if (++loadsRunning_ == 1) emit isLoadingChanged();
    if (showsLoadingRow() != showedRow) emit showsLoadingRowChanged();
}

void EnhancedVoiceManager::loadEnded(bool showedRow) {
    if (--loadsRunning_ == 0) emit isLoadingChanged();
    if (showsLoadingRow() != showedRow) emit showsLoadingRowChanged();
}

void EnhancedVoiceManager::setCatalogError(const QString& text) {
    if (catalogError_ == text) return;
    catalogError_ = text;
    emit catalogErrorChanged();
}

void EnhancedVoiceManager::setContainerProblem(const std::optional<std::string>& problem) {
    const QString text = qtText(problem.value_or(""));
    if (containerProblem_ == text) return;
    containerProblem_ = text;
    emit containerProblemChanged();
}

void EnhancedVoiceManager::refreshInstalled() { applyInstalled(services_.installedPacks()); }

void EnhancedVoiceManager::install(const EnhancedVoice& voice) {
    const std::optional<VoiceStateTable::Task> task = table_.startInstall(voice.id());
    if (!task) return;
    stateChangedOf(voice.id());
    startInstall(voice, *task);
}

void EnhancedVoiceManager::startInstall(const EnhancedVoice& voice, VoiceStateTable::Task task) {
    workers_.start(
        [install = services_.install, voice, task, guard = guard_,
         workers = &workers_](std::stop_token shutdown) {
            const std::string voiceId = voice.id();
            std::stop_source cancel = task.stop;
            const std::stop_callback onShutdown(shutdown, [cancel]() mutable { cancel.request_stop(); });
            ProgressRelay relay(*workers, [guard, voiceId, id = task.id](double fraction) {
                if (*guard) (*guard)->applyReport(voiceId, id, VoiceState{VoiceState::Downloading{fraction}});
            });
            VoiceState outcome;
            try {
                const auto unpacking = [&] {
                    workers->post([guard, voiceId, id = task.id] {
                        if (*guard) (*guard)->applyReport(voiceId, id, VoiceState{VoiceState::Unpacking{}});
                    });
                };
                const auto progress = [&relay](double fraction) { relay.report(fraction); };
                outcome.value =
                    VoiceState::Installed{install(voice, progress, unpacking, cancel.get_token())};
            } catch (...) {
                outcome.value = VoiceState::Failed{textOf(std::current_exception())};
            }
            // Queued after every report above, so none of them lands after the outcome.
            workers->post([guard, voiceId, id = task.id, outcome] {
                if (*guard) (*guard)->applyOutcome(voiceId, id, outcome);
            });
        },
        WorkerThreads::Priority::background);
}

void EnhancedVoiceManager::applyReport(const std::string& voiceId, VoiceStateTable::TaskId task,
                                       const VoiceState& report) {
    const auto* downloading = std::get_if<VoiceState::Downloading>(&report.value);
    const bool changed =
        downloading ? table_.progress(voiceId, task, downloading->fraction) : table_.unpacking(voiceId, task);
    if (changed) stateChangedOf(voiceId);
}

void EnhancedVoiceManager::applyOutcome(const std::string& voiceId, VoiceStateTable::TaskId task,
                                        const VoiceState& outcome) {
    if (table_.finished(voiceId, task, outcome)) stateChangedOf(voiceId);
}

void EnhancedVoiceManager::cancel(const EnhancedVoice& voice) {
    table_.cancel(voice.id());
    stateChangedOf(voice.id());
}

void EnhancedVoiceManager::remove(const EnhancedVoice& voice) {
    try {
        services_.removePack(voice);
        table_.set(voice.id(), VoiceState{});
    } catch (...) {
        table_.set(voice.id(), VoiceState{VoiceState::Failed{textOf(std::current_exception())}});
    }
    stateChangedOf(voice.id());
}

void EnhancedVoiceManager::installAll(const VoiceRelease& release) {
    std::vector<std::string> voiceIds;
    for (const auto& voice : voicesOf(release)) voiceIds.push_back(voice.id());
    const std::vector<std::string> selected = table_.installAllSelection(voiceIds);
    for (const auto& voice : voicesOf(release)) {
        if (std::ranges::find(selected, voice.id()) != selected.end()) install(voice);
    }
}

void EnhancedVoiceManager::removeAll() {
    table_.cancelAll();
    try {
        services_.removeAllPacks();
    } catch (...) {
        setCatalogError(qtText(textOf(std::current_exception())));
        return;
    }
    table_.makeAllAvailable();
    statesChanged(table_.voiceIds());
}

void EnhancedVoiceManager::statesChanged(const std::vector<std::string>& voiceIds) {
    rows_.statesChanged(voiceIds);
    for (const auto& voiceId : voiceIds) emit stateChanged(qtText(voiceId));
    const std::pair<std::int64_t, std::int64_t> summary{installedCount(), installedTotal()};
    if (summary == announcedSummary_) return;
    announcedSummary_ = summary;
    emit installedChanged();
}

const EnhancedVoice* EnhancedVoiceManager::find(const QString& voiceId) const {
    const std::string id = stdText(voiceId);
    const auto found =
        std::ranges::find_if(voices_, [&id](const EnhancedVoice& voice) { return voice.id() == id; });
    return found == voices_.end() ? nullptr : &*found;
}

void EnhancedVoiceManager::install(const QString& voiceId) {
    if (const auto* voice = find(voiceId)) install(*voice);
}

void EnhancedVoiceManager::cancel(const QString& voiceId) {
    if (const auto* voice = find(voiceId)) cancel(*voice);
}

void EnhancedVoiceManager::remove(const QString& voiceId) {
    if (const auto* voice = find(voiceId)) remove(*voice);
}

void EnhancedVoiceManager::installAll(const QString& releaseName) {
    if (const auto release = VoiceRelease::named(stdText(releaseName))) installAll(*release);
}

void EnhancedVoiceManager::activate(const QString& voiceId) {
    const auto* voice = find(voiceId);
    if (!voice) return;
    switch (rowAction(state(*voice))) {
        case RowAction::install:
            install(*voice);
            break;
        case RowAction::cancel:
            cancel(*voice);
            break;
        case RowAction::confirmRemoval:
            emit removalRequested(voiceId);
            break;
        case RowAction::none:
            break;
    }
}

QString EnhancedVoiceManager::removeDialogMessage(const QString& voiceId) const {
    const auto* voice = find(voiceId);
    return voice
               ? qtText(EnhancedTexts::removeDialogMessage(services_.voiceName(*voice), voice->release.label))
               : QString();
}

QString EnhancedVoiceManager::removeButtonText(const QString& voiceId) const {
    const auto* voice = find(voiceId);
    return voice ? qtText(EnhancedTexts::removeVoiceButton(services_.voiceName(*voice))) : QString();
}

}  // namespace velmora
