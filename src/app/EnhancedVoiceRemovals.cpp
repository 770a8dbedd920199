// The manager's removals: one pack after the user confirmed it, or every pack once the installs
// have stopped; the files are deleted on a worker thread and the rows end as the disk is.
#include "app/EnhancedVoiceManager.h"
#include "app/ErrorText.h"
#include "app/QtText.h"
#include "presenters/Announcements.h"
#include "presenters/EnhancedTexts.h"

namespace velmora {

void EnhancedVoiceManager::setPendingRemoval(const QString& voiceId) {
    if (pendingRemoval_ == voiceId) return;
    pendingRemoval_ = voiceId;
    emit pendingRemovalChanged();
}

QString EnhancedVoiceManager::removeDialogMessage() const {
    const auto* voice = find(pendingRemoval_);
    return voice
               ? qtText(EnhancedTexts::removeDialogMessage(services_.voiceName(*voice), voice->release.label))
               : QString();
}

QString EnhancedVoiceManager::removeButtonText() const {
    const auto* voice = find(pendingRemoval_);
    return voice ? qtText(EnhancedTexts::removeVoiceButton(services_.voiceName(*voice))) : QString();
}

void EnhancedVoiceManager::confirmRemoval() {
    const QString voiceId = pendingRemoval_;
    setPendingRemoval({});
    remove(voiceId);
}

void EnhancedVoiceManager::dismissRemoval() { setPendingRemoval({}); }

void EnhancedVoiceManager::remove(const EnhancedVoice& voice) {
    if (!removing_.insert(voice.id()).second) return;
    workers_.start(
        [removePack = services_.removePack, voice, guard = guard_, workers = &workers_](std::stop_token) {
            std::optional<std::string> failure;
            try {
                removePack(voice);
            } catch (...) {
                failure = errorText(std::current_exception());
            }
            workers->toWindowThread([guard, voiceId = voice.id(), failure] {
                if (*guard) (*guard)->applyRemoval(voiceId, failure);
            });
        });
}

void EnhancedVoiceManager::applyRemoval(const std::string& voiceId,
                                        const std::optional<std::string>& failure) {
    removing_.erase(voiceId);
    const VoiceState before = table_.state(voiceId);
    // A running install of the voice keeps its row.
    if (table_.hasTask(voiceId)) return;
    if (failure) {
        table_.set(voiceId, VoiceState{VoiceState::Failed{*failure}});
        statesChanged({voiceId});
        if (const auto* voice = find(voiceId)) {
            announce(Announcements::removalFailed(services_.voiceName(*voice), *failure));
        }
        return;
    }
    table_.set(voiceId, VoiceState{});
    voiceChanged(voiceId, before);
}

void EnhancedVoiceManager::removeAll() {
    if (deleteAll_ != DeleteAll::no) return;
    const std::vector<std::string> voiceIds = table_.voiceIds();
    if (!table_.cancelAllAndHold()) {
        setActionError(qtText(Announcements::deleteAllRefused()));
        announce(Announcements::deleteAllRefused());
        return;
    }
    deleteAll_ = DeleteAll::waiting;
    setActionError({});
    statesChanged(voiceIds);
    if (!table_.idle()) announce(Announcements::deleteAllWaits());
    deleteAllOnceIdle();
}

void EnhancedVoiceManager::deleteAllOnceIdle() {
    if (deleteAll_ != DeleteAll::waiting || !table_.idle()) return;
    deleteAll_ = DeleteAll::running;
    workers_.start([services = services_, guard = guard_, workers = &workers_](std::stop_token) {
        std::optional<std::string> failure;
        try {
            services.removeAllPacks();
        } catch (...) {
            failure = errorText(std::current_exception());
        }
        workers->toWindowThread([guard, failure, packs = services.installedPacks()] {
            if (*guard) (*guard)->applyDeleteAll(failure, packs);
        });
    });
}

void EnhancedVoiceManager::applyDeleteAll(const std::optional<std::string>& failure,
                                          const std::vector<InstalledVoice>& packs) {
    const std::vector<std::string> voiceIds = table_.voiceIds();
    // The rows end as the disk is: what is still there stays installed.
    table_.makeAllAvailable();
    statesChanged(voiceIds);
    applyInstalled(packs);
    deleteAll_ = DeleteAll::no;
    table_.release();
    setActionError(failure ? qtText(Announcements::deleteAllFailed(*failure)) : QString());
    announce(failure ? Announcements::deleteAllFailed(*failure) : Announcements::deleteAllDone());
    startWaiting();
}

}  // namespace velmora
