#pragma once

#include <QtQml/qqmlregistration.h>

#include <QObject>
#include <QString>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "app/VoiceListModel.h"
#include "app/WorkerThreads.h"
#include "speech/SpeechSystem.h"
#include "speech/Synthesizer.h"
#include "speech/VoiceList.h"

namespace velmora {

// The model of the main window: the extension's voices, sorted and grouped, speaking with one of
// them, and which voice is speaking. Lives on the GUI thread; reading the providers (which may
// have to be started on the bus first) happens on a worker thread and the result is posted back.
class SpeechController : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the application")
    Q_PROPERTY(QString speakingVoice READ speakingVoiceText NOTIFY speakingVoiceChanged)
    Q_PROPERTY(bool hasVoices READ hasVoices NOTIFY voicesChanged)
    Q_PROPERTY(VoiceListModel* voiceList READ voiceList CONSTANT)
    Q_PROPERTY(double minimumRate READ minimumRate CONSTANT)
    Q_PROPERTY(double maximumRate READ maximumRate CONSTANT)
    Q_PROPERTY(double defaultRate READ defaultRate CONSTANT)

public:
    static constexpr std::chrono::milliseconds retryInterval{1000};
    static constexpr int retryAttempts = 10;

    // `synthesizer` speaks through `system`'s providers; `retry` is the pause between reloads
    // while the list is empty.
    SpeechController(std::shared_ptr<SpeechSystem> system, std::unique_ptr<Synthesizer> synthesizer,
                     WorkerThreads& workers, std::chrono::milliseconds retry = retryInterval,
                     QObject* parent = nullptr);
    ~SpeechController() override;

    const std::vector<SpeechVoice>& voices() const { return voices_; }
    const std::vector<VoiceGroup>& groups() const { return groups_; }
    // The identifier of the voice last asked to speak, until speech ends; empty for none.
    const std::string& speakingVoice() const { return speakingVoice_; }
    QString speakingVoiceText() const { return QString::fromStdString(speakingVoice_); }
    bool hasVoices() const { return !voices_.empty(); }
    VoiceListModel* voiceList() { return &voiceList_; }
    static double minimumRate() { return SpeechRate::minimum; }
    static double maximumRate() { return SpeechRate::maximum; }
    static double defaultRate() { return SpeechRate::defaultRate; }

    // Cuts off what is playing and speaks `text` with `voice` at `rate` (0 to 1, 0.5 normal).
    void speak(const std::string& text, const SpeechVoice& voice, float rate);

    // Asks the providers to re-read their voices and reloads the list, then reloads once a
    // retry interval while it stays empty, up to ten times. Each call retries on its own.
    Q_INVOKABLE void refresh();
    Q_INVOKABLE void stop();
    // A tap on a voice row: speaks the typed text when there is any, else the voice's greeting,
    // through the row's provider (empty: the first that lists the identifier).
    Q_INVOKABLE void speakVoice(const QString& identifier, const QString& provider, const QString& typedText,
                                double rate);

signals:
    void voicesChanged();
    void groupsChanged();
    void speakingVoiceChanged();

private:
    class Delegate;
    // Has the providers re-read their voices on a worker thread, then publishes the list.
    void reload();
    void publish(std::uint64_t reading, std::vector<SpeechVoice> voices);
    void retryWhileEmpty(int attemptsLeft);
    void setSpeakingVoice(const std::string& identifier);

    std::shared_ptr<SpeechSystem> system_;
    WorkerThreads& workers_;
    std::chrono::milliseconds retry_;
    GuiGuard<SpeechController> guard_;
    std::vector<SpeechVoice> voices_;
    std::vector<VoiceGroup> groups_;
    std::string speakingVoice_;
    std::uint64_t readingsStarted_ = 0;
    std::uint64_t readingPublished_ = 0;
    VoiceListModel voiceList_;
    std::unique_ptr<Delegate> delegate_;
    std::unique_ptr<Synthesizer> synthesizer_;  // last: it goes first, with its delegate calls
};

}  // namespace velmora
