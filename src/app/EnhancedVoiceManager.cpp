#include "app/EnhancedVoiceManager.h"

#include <algorithm>

#include "app/ErrorText.h"
#include "app/QtText.h"
#include "presenters/Announcements.h"
#include "presenters/EnhancedTexts.h"

namespace velmora {

EnhancedVoiceManager::EnhancedVoiceManager(EnhancedServices services, WorkerThreads& workers, QObject* parent)
    : QObject(parent),
      services_(std::move(services)),
      workers_(workers),
      guard_(guardOf(this)),
      rows_({services_.voiceName, services_.languageName},
            [this](const std::string& voiceId) { return table_.state(voiceId); }) {
    connect(&pacer_, &AnnouncementPacer::due, this, &EnhancedVoiceManager::announced);
    if (services_.containerProblem) containerProblem_ = qtText(services_.containerProblem().value_or(""));
}

EnhancedVoiceManager::~EnhancedVoiceManager() = default;

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

void EnhancedVoiceManager::screenShown() {
    if (voices_.empty() && !isLoading()) load();
}

void EnhancedVoiceManager::load() {
    loadStarted();
    workers_.start([services = services_, guard = guard_, workers = &workers_](std::stop_token stop) {
        services.addMissingDictionaries();
        auto packs = services.installedPacks();
        auto problem = services.containerProblem();
        workers->toWindowThread([guard, packs, problem] {
            if (!*guard) return;
            (*guard)->applyInstalled(packs);
            (*guard)->setContainerProblem(problem);
        });
        try {
            auto voices = services.fetchCatalog(stop);
            workers->toWindowThread(
                [guard, voices = std::move(voices), packs = services.installedPacks()]() mutable {
                    if (*guard) (*guard)->applyCatalog(std::move(voices), std::move(packs));
                });
        } catch (...) {
            workers->toWindowThread([guard, text = errorText(std::current_exception())] {
                if (*guard) (*guard)->applyLoadFailure(qtText(text));
            });
        }
    });
}

void EnhancedVoiceManager::applyInstalled(const std::vector<InstalledVoice>& packs) {
    std::vector<std::string> changed;
    for (const auto& pack : packs) {
        const std::string voiceId = pack.release.name + "/" + pack.locale;
        // A pack that an install is replacing stays that install's to report.
        if (table_.hasTask(voiceId)) continue;
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
    announce(Announcements::catalogLoaded(voices_.size()));
}

void EnhancedVoiceManager::applyLoadFailure(const QString& text) {
    setCatalogError(text);
    loadEnded(showsLoadingRow());
    announce(Announcements::catalogFailed(stdText(text)));
}

void EnhancedVoiceManager::loadStarted() {
    const bool showedRow = showsLoadingRow();
    if (++loadsRunning_ == 1) {
        emit isLoadingChanged();
        announce(Announcements::catalogLoading());
    }
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

void EnhancedVoiceManager::setActionError(const QString& text) {
    if (actionError_ == text) return;
    actionError_ = text;
    emit actionErrorChanged();
}

void EnhancedVoiceManager::setContainerProblem(const std::optional<std::string>& problem) {
    const QString text = qtText(problem.value_or(""));
    if (containerProblem_ == text) return;
    containerProblem_ = text;
    emit containerProblemChanged();
}

void EnhancedVoiceManager::refreshInstalled() { applyInstalled(services_.installedPacks()); }

void EnhancedVoiceManager::announce(const std::string& text, bool progress) {
    lastAnnouncement_ = qtText(text);
    emit lastAnnouncementChanged();
    pacer_.say(lastAnnouncement_, progress);
}

void EnhancedVoiceManager::statesChanged(const std::vector<std::string>& voiceIds) {
    rows_.statesChanged(voiceIds);
    for (const auto& voiceId : voiceIds) emit stateChanged(qtText(voiceId));
    const std::pair<std::int64_t, std::int64_t> summary{installedCount(), installedTotal()};
    if (summary == announcedSummary_) return;
    announcedSummary_ = summary;
    emit installedChanged();
}

void EnhancedVoiceManager::voiceChanged(const std::string& voiceId, const VoiceState& before) {
    statesChanged({voiceId});
    const EnhancedVoice* voice = find(voiceId);
    if (!voice) return;
    const auto sentence = Announcements::voiceChanged(services_.voiceName(*voice), voice->downloadSize,
                                                      before, table_.state(voiceId));
    const bool progress =
        before.is<VoiceState::Downloading>() && table_.state(voiceId).is<VoiceState::Downloading>();
    if (sentence) announce(*sentence, progress);
}

const EnhancedVoice* EnhancedVoiceManager::find(const std::string& voiceId) const {
    const auto found = std::ranges::find_if(
        voices_, [&voiceId](const EnhancedVoice& voice) { return voice.id() == voiceId; });
    return found == voices_.end() ? nullptr : &*found;
}

const EnhancedVoice* EnhancedVoiceManager::find(const QString& voiceId) const {
    return find(stdText(voiceId));
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
            setPendingRemoval(voiceId);
            emit removalRequested();
            break;
        case RowAction::none:
            break;
    }
}

}  // namespace velmora
