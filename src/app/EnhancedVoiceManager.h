#pragma once

#include <QtQml/qqmlregistration.h>

#include <QObject>
#include <QString>
#include <QUrl>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

#include "app/AnnouncementPacer.h"
#include "app/EnhancedServices.h"
#include "app/EnhancedVoiceListModel.h"
#include "app/WorkerThreads.h"
#include "enhanced/VoiceState.h"
#include "enhanced/VoiceStateTable.h"
#include "store/VoiceRelease.h"

namespace velmora {

// The model of the enhanced voices screen and the process's one queue of installs: the catalog,
// one state per voice, and the installs and removals the user starts. The application owns it,
// so a screen that is closed and opened again shows the installs still running. Lives on the
// window thread; the catalog, every install and every removal run on the worker threads and
// reach the manager only through jobs handed to the window thread. Each change worth hearing is
// told through `announced`, once, in words.
class EnhancedVoiceManager : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("owned by AppServices")
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY isLoadingChanged)
    Q_PROPERTY(QString catalogError READ catalogError NOTIFY catalogErrorChanged)
    Q_PROPERTY(QString actionError READ actionError NOTIFY actionErrorChanged)
    Q_PROPERTY(qint64 installedCount READ installedCount NOTIFY installedChanged)
    Q_PROPERTY(QString installedSizeText READ installedSizeText NOTIFY installedChanged)
    Q_PROPERTY(QString deleteAllAccessibleName READ deleteAllAccessibleName NOTIFY installedChanged)
    Q_PROPERTY(QString deleteAllMessage READ deleteAllMessage NOTIFY installedChanged)
    Q_PROPERTY(QString containerProblem READ containerProblem NOTIFY containerProblemChanged)
    Q_PROPERTY(bool showsLoadingRow READ showsLoadingRow NOTIFY showsLoadingRowChanged)
    Q_PROPERTY(QString pendingRemoval READ pendingRemoval NOTIFY pendingRemovalChanged)
    Q_PROPERTY(QString removeDialogMessage READ removeDialogMessage NOTIFY pendingRemovalChanged)
    Q_PROPERTY(QString removeButtonText READ removeButtonText NOTIFY pendingRemovalChanged)
    Q_PROPERTY(QString lastAnnouncement READ lastAnnouncement NOTIFY lastAnnouncementChanged)
    Q_PROPERTY(EnhancedVoiceListModel* rows READ rows CONSTANT)

public:
    using State = VoiceState;
    // One install's work on its worker thread: gets the archive from wherever it comes from,
    // verifies and installs it, and returns the pack's size. The catalog's download is one such
    // source.
    using InstallRun = std::function<std::int64_t(const EnhancedServices::Progress&,
                                                  const EnhancedServices::Unpacking&, std::stop_token)>;

    EnhancedVoiceManager(EnhancedServices services, WorkerThreads& workers, QObject* parent = nullptr);
    ~EnhancedVoiceManager() override;

    const std::vector<EnhancedVoice>& voices() const { return voices_; }
    std::vector<EnhancedVoice> voicesOf(const VoiceRelease& release) const;
    State state(const EnhancedVoice& voice) const { return table_.state(voice.id()); }
    const VoiceStateTable& table() const { return table_; }

    bool isLoading() const { return loadsRunning_ > 0; }
    QString catalogError() const { return catalogError_; }
    QString actionError() const { return actionError_; }
    qint64 installedCount() const { return table_.installedCount(); }
    qint64 installedTotal() const { return table_.installedTotal(); }
    QString installedSizeText() const;
    QString deleteAllAccessibleName() const;
    QString deleteAllMessage() const;
    QString containerProblem() const { return containerProblem_; }
    bool showsLoadingRow() const { return isLoading() && voices_.empty(); }
    QString pendingRemoval() const { return pendingRemoval_; }
    QString removeDialogMessage() const;
    QString removeButtonText() const;
    QString lastAnnouncement() const { return lastAnnouncement_; }
    EnhancedVoiceListModel* rows() { return &rows_; }

    // Marks every pack found on disk installed.
    void refreshInstalled();
    // Queues the catalog's download of the voice, unless it has an install waiting or running.
    void install(const EnhancedVoice& voice);
    // Queues an install of the voice whose archive `run` gets.
    void enqueue(const EnhancedVoice& voice, InstallRun run);
    void cancel(const EnhancedVoice& voice);
    void remove(const EnhancedVoice& voice);
    void installAll(const VoiceRelease& release);

    // The screen's verbs, by voice id ("ios6/en-US") or release name ("ios6"); unknown ones do
    // nothing.
    Q_INVOKABLE void load();
    // The screen is shown: reads the catalog unless voices are listed or a read runs.
    Q_INVOKABLE void screenShown();
    Q_INVOKABLE void install(const QString& voiceId);
    Q_INVOKABLE void cancel(const QString& voiceId);
    Q_INVOKABLE void remove(const QString& voiceId);
    Q_INVOKABLE void installAll(const QString& releaseName);
    // Installs an archive the user already has (a local file, as a file dialog gives it) as the
    // catalog voice whose checksum it has; refuses, in actionError and aloud, when none has.
    Q_INVOKABLE void installFromFile(const QUrl& archive);
    // Stops every install that can stop, waits for the others, then deletes every pack; refuses
    // while a voice unpacks.
    Q_INVOKABLE void removeAll();
    // The row's action for its state: install, cancel, ask to remove, or nothing.
    Q_INVOKABLE void activate(const QString& voiceId);
    // The removal that waits for the user's confirmation.
    Q_INVOKABLE void confirmRemoval();
    Q_INVOKABLE void dismissRemoval();

signals:
    void isLoadingChanged();
    void catalogErrorChanged();
    void actionErrorChanged();
    void installedChanged();
    void containerProblemChanged();
    void showsLoadingRowChanged();
    void pendingRemovalChanged();
    void voicesChanged();
    // One voice's state changed.
    void stateChanged(const QString& voiceId);
    // The user asked to remove an installed voice (now `pendingRemoval`); the screen confirms.
    void removalRequested();
    // Something happened that a screen reader should say, in these words; one sentence at a
    // time, paced so that none is lost. `lastAnnouncement` is the newest, at once.
    void announced(const QString& text);
    void lastAnnouncementChanged();

private:
    const EnhancedVoice* find(const QString& voiceId) const;
    const EnhancedVoice* find(const std::string& voiceId) const;
    void startWaiting();
    void launch(const VoiceStateTable::Task& task, InstallRun run);
    // What the install task `task` reports: a progress or unpacking report, or its outcome.
    void applyReport(const std::string& voiceId, VoiceStateTable::TaskId task, const VoiceState& report);
    void applyOutcome(const std::string& voiceId, VoiceStateTable::TaskId task, const VoiceState& outcome);
    void applyArchiveMatch(const std::optional<EnhancedVoice>& voice, const std::string& failure,
                           const std::filesystem::path& archive);
    void applyRemoval(const std::string& voiceId, const std::optional<std::string>& failure);
    void deleteAllOnceIdle();
    void applyDeleteAll(const std::optional<std::string>& failure, const std::vector<InstalledVoice>& packs);
    void applyInstalled(const std::vector<InstalledVoice>& packs);
    void applyCatalog(std::vector<EnhancedVoice> voices, std::vector<InstalledVoice> packs);
    void applyLoadFailure(const QString& text);
    void loadStarted();
    void loadEnded(bool showedRow);
    void setCatalogError(const QString& text);
    void setActionError(const QString& text);
    void setPendingRemoval(const QString& voiceId);
    void setContainerProblem(const std::optional<std::string>& problem);
    void announce(const std::string& text, bool progress = false);
    // Tells the rows and the totals that these voices' states changed.
    void statesChanged(const std::vector<std::string>& voiceIds);
    // The same for one voice that was in `before`, and says what happened.
    void voiceChanged(const std::string& voiceId, const VoiceState& before);

    EnhancedServices services_;
    WorkerThreads& workers_;
    GuiGuard<EnhancedVoiceManager> guard_;
    int loadsRunning_ = 0;
    std::pair<std::int64_t, std::int64_t> announcedSummary_{0, 0};  // count and total
    std::vector<EnhancedVoice> voices_;
    VoiceStateTable table_;
    std::map<VoiceStateTable::TaskId, InstallRun> waitingRuns_;
    std::set<std::string> removing_;
    // "Delete all": waiting for the installs to stop, then deleting on a worker thread.
    enum class DeleteAll { no, waiting, running } deleteAll_ = DeleteAll::no;
    EnhancedVoiceListModel rows_;
    QString catalogError_;
    QString actionError_;
    QString containerProblem_;
    QString pendingRemoval_;
    QString lastAnnouncement_;
    AnnouncementPacer pacer_;
};

}  // namespace velmora
