#pragma once

#include <QtQml/qqmlregistration.h>

#include <QObject>
#include <QString>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <stop_token>
#include <utility>
#include <vector>

#include "app/EnhancedServices.h"
#include "app/EnhancedVoiceListModel.h"
#include "app/WorkerThreads.h"
#include "enhanced/InstallFailure.h"
#include "enhanced/VoiceState.h"
#include "enhanced/VoiceStateTable.h"
#include "store/VoiceRelease.h"

namespace velmora {

// The model of the enhanced voices screen: the catalog, one state per voice, and the installs
// and removals the user starts. Lives on the GUI thread; the catalog and every install run on
// the process's worker threads and reach the manager only through posted jobs that first check
// it still exists, so a manager may go away while its installs run on (they finish or clean up,
// and write nothing).
class EnhancedVoiceManager : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by AppServices.createManager")
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY isLoadingChanged)
    Q_PROPERTY(QString catalogError READ catalogError NOTIFY catalogErrorChanged)
    Q_PROPERTY(qint64 installedCount READ installedCount NOTIFY installedChanged)
    Q_PROPERTY(qint64 installedTotal READ installedTotal NOTIFY installedChanged)
    Q_PROPERTY(QString installedSizeText READ installedSizeText NOTIFY installedChanged)
    Q_PROPERTY(QString deleteAllAccessibleName READ deleteAllAccessibleName NOTIFY installedChanged)
    Q_PROPERTY(QString deleteAllMessage READ deleteAllMessage NOTIFY installedChanged)
    Q_PROPERTY(QString containerProblem READ containerProblem NOTIFY containerProblemChanged)
    Q_PROPERTY(bool showsLoadingRow READ showsLoadingRow NOTIFY showsLoadingRowChanged)
    Q_PROPERTY(EnhancedVoiceListModel* rows READ rows CONSTANT)

public:
    using State = VoiceState;
    using InstallFailure = velmora::InstallFailure;

    EnhancedVoiceManager(EnhancedServices services, WorkerThreads& workers, QObject* parent = nullptr);
    ~EnhancedVoiceManager() override;

    // The install pipeline: downloads, verifies and installs `voice` and returns the installed
    // pack's size in bytes. `progress` receives the download's fraction done (a last exact 1 when
    // the archive is complete); `unpacking` is called once, after the checksum matched. A stop
    // request cancels the transfer, or the install right after it; once checking has begun the
    // install runs to its end. Blocks; any thread.
    static std::int64_t download(const EnhancedVoice& voice, const EnhancedServices::Progress& progress,
                                 const EnhancedServices::Unpacking& unpacking, std::stop_token stop = {});
    // The SHA-1 of a file's bytes, 20 raw bytes.
    static std::vector<std::byte> digest(const std::filesystem::path& file);

    const std::vector<EnhancedVoice>& voices() const { return voices_; }
    std::vector<EnhancedVoice> voicesOf(const VoiceRelease& release) const;
    State state(const EnhancedVoice& voice) const { return table_.state(voice.id()); }
    const VoiceStateTable& table() const { return table_; }

    bool isLoading() const { return loadsRunning_ > 0; }
    QString catalogError() const { return catalogError_; }
    qint64 installedCount() const { return table_.installedCount(); }
    qint64 installedTotal() const { return table_.installedTotal(); }
    QString installedSizeText() const;
    QString deleteAllAccessibleName() const;
    QString deleteAllMessage() const;
    QString containerProblem() const { return containerProblem_; }
    bool showsLoadingRow() const { return isLoading() && voices_.empty(); }
    EnhancedVoiceListModel* rows() { return &rows_; }

    // Marks every pack found on disk installed.
    void refreshInstalled();
    void install(const EnhancedVoice& voice);
    void cancel(const EnhancedVoice& voice);
    void remove(const EnhancedVoice& voice);
    void installAll(const VoiceRelease& release);

    // The screen's verbs, by voice id ("ios6/en-US") or release name ("ios6"); unknown ones do
    // nothing.
    Q_INVOKABLE void load();
    Q_INVOKABLE void install(const QString& voiceId);
    Q_INVOKABLE void cancel(const QString& voiceId);
    Q_INVOKABLE void remove(const QString& voiceId);
    Q_INVOKABLE void installAll(const QString& releaseName);
    Q_INVOKABLE void removeAll();
    // The row's action for its state: install, cancel, ask to remove (removalRequested), or nothing.
    Q_INVOKABLE void activate(const QString& voiceId);
    Q_INVOKABLE QString removeDialogMessage(const QString& voiceId) const;
    Q_INVOKABLE QString removeButtonText(const QString& voiceId) const;

signals:
    void isLoadingChanged();
    void catalogErrorChanged();
    void installedChanged();
    void containerProblemChanged();
    void showsLoadingRowChanged();
    void voicesChanged();
    // One voice's state changed.
    void stateChanged(const QString& voiceId);
    // The user asked to remove an installed voice; the screen confirms before calling remove().
    void removalRequested(const QString& voiceId);

private:
    const EnhancedVoice* find(const QString& voiceId) const;
    void startInstall(const EnhancedVoice& voice, VoiceStateTable::Task task);
    // What the install task `task` reports: a progress or unpacking report, or its outcome.
    void applyReport(const std::string& voiceId, VoiceStateTable::TaskId task, const VoiceState& report);
    void applyOutcome(const std::string& voiceId, VoiceStateTable::TaskId task, const VoiceState& outcome);
    void applyInstalled(const std::vector<InstalledVoice>& packs);
    void applyCatalog(std::vector<EnhancedVoice> voices, std::vector<InstalledVoice> packs);
    void applyLoadFailure(const QString& text);
    void loadStarted();
    void loadEnded(bool showedRow);
    void setCatalogError(const QString& text);
    void setContainerProblem(const std::optional<std::string>& problem);
    // Announces what a change of voice states changes: the rows and the totals.
    void statesChanged(const std::vector<std::string>& voiceIds);
    void stateChangedOf(const std::string& voiceId) { statesChanged({voiceId}); }

    EnhancedServices services_;
    WorkerThreads& workers_;
    GuiGuard<EnhancedVoiceManager> guard_;
    int loadsRunning_ = 0;
    std::pair<std::int64_t, std::int64_t> announcedSummary_{0, 0};  // count and total
    std::vector<EnhancedVoice> voices_;
    VoiceStateTable table_;
    EnhancedVoiceListModel rows_;
    QString catalogError_;
    QString containerProblem_;
};

}  // namespace velmora
