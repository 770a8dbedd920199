#include "app/SpeechController.h"

#include <QTimer>

#include "app/QtText.h"
#include "enhanced/DisplayOrder.h"
#include "presenters/MainWindowTexts.h"

namespace velmora {

// Hears from the synthesizer's thread that an utterance ended, and clears the speaking voice on
// the GUI thread, whichever utterance it was.
class SpeechController::Delegate : public SynthesizerDelegate {
public:
    Delegate(WorkerThreads& workers, GuiGuard<SpeechController> guard)
        : workers_(workers), guard_(std::move(guard)) {}
    void didFinish(const Utterance&) override { ended(); }
    void didCancel(const Utterance&) override { ended(); }

private:
    void ended() {
        workers_.post([guard = guard_] {
            if (*guard) (*guard)->setSpeakingVoice({});
        });
    }
    WorkerThreads& workers_;
    GuiGuard<SpeechController> guard_;
};

SpeechController::SpeechController(std::shared_ptr<SpeechSystem> system,
                                   std::unique_ptr<Synthesizer> synthesizer, WorkerThreads& workers,
                                   std::chrono::milliseconds retry, QObject* parent)
    : QObject(parent),
      system_(std::move(system)),
      workers_(workers),
      retry_(retry),
      guard_(guardOf(this)),
      voiceList_(&languageName),
      delegate_(std::make_unique<Delegate>(workers, guard_)),
      synthesizer_(std::move(synthesizer)) {
    synthesizer_->setDelegate(delegate_.get());
}

SpeechController::~SpeechController() {
    // Whatever is still playing is cut off and reported before the delegate goes.
    synthesizer_.reset();
}

void SpeechController::refresh() {
    reload();
    retryWhileEmpty(retryAttempts);
}

void SpeechController::retryWhileEmpty(int attemptsLeft) {
    if (attemptsLeft == 0) return;
    QTimer::singleShot(retry_, this, [this, attemptsLeft] {
        if (!voices_.empty()) return;
        reload();
        retryWhileEmpty(attemptsLeft - 1);
    });
}

void SpeechController::reload() {
    const std::uint64_t reading = ++readingsStarted_;
    workers_.start([system = system_, reading, guard = guard_, workers = &workers_](std::stop_token) {
        // The providers' lists are read afresh each time: a provider may have registered since.
        system->updateSpeechVoices();
        auto voices = VoiceList::sortedByName(VoiceList::marked(system->voices()));
        workers->post([guard, reading, voices = std::move(voices)]() mutable {
            if (*guard) (*guard)->publish(reading, std::move(voices));
        });
    });
}

void SpeechController::publish(std::uint64_t reading, std::vector<SpeechVoice> voices) {
    // A read that finishes after a later one has been published is out of date.
    if (reading < readingPublished_) return;
    readingPublished_ = reading;
    if (voices == voices_) return;
    voices_ = std::move(voices);
    groups_ = VoiceList::grouped(voices_);
    voiceList_.setGroups(groups_);
    emit voicesChanged();
    emit groupsChanged();
}

void SpeechController::speak(const std::string& text, const SpeechVoice& voice, float rate) {
    synthesizer_->stop();
    Utterance utterance;
    utterance.text = text;
    utterance.useVoice(voice);
    utterance.rate = rate;
    setSpeakingVoice(voice.identifier);
    synthesizer_->speak(utterance);
}

void SpeechController::stop() {
    synthesizer_->stop();
    setSpeakingVoice({});
}

void SpeechController::speakVoice(const QString& identifier, const QString& provider,
                                  const QString& typedText, double rate) {
    const std::string id = stdText(identifier);
    const std::string bus = stdText(provider);
    const auto voice = std::ranges::find_if(voices_, [&](const SpeechVoice& v) {
        return v.identifier == id && (bus.empty() || v.provider == bus);
    });
    if (voice == voices_.end()) return;
    const std::string text = MainWindowTexts::spokenText(stdText(typedText), voice->language,
                                                         MainWindowTexts::shortName(voice->name));
    speak(text, *voice, static_cast<float>(rate));
}

void SpeechController::setSpeakingVoice(const std::string& identifier) {
    if (identifier == speakingVoice_) return;
    speakingVoice_ = identifier;
    voiceList_.setSpeakingVoice(identifier);
    emit speakingVoiceChanged();
}

}  // namespace velmora
