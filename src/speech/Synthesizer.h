#pragma once

#include <atomic>
#include <chrono>
#include <list>
#include <memory>
#include <mutex>
#include <thread>

#include "speech/AudioOutput.h"
#include "speech/SpeechSystem.h"
#include "speech/SpeechTypes.h"
#include "speech/UtteranceRender.h"

namespace velmora {

class Speaker;

// Told when a spoken utterance ends, on a thread of the synthesizer's own. Every utterance
// handed to speak() ends in exactly one of the two calls.
class SynthesizerDelegate {
public:
    virtual ~SynthesizerDelegate() = default;
    // The utterance was spoken to its end.
    virtual void didFinish(const Utterance& utterance) = 0;
    // The utterance was stopped, or could not be spoken (refused SSML, no such voice, a
    // provider that failed); whatever audio came before that was played.
    virtual void didCancel(const Utterance& utterance) = 0;
};

// Speaks utterances aloud, one after the other, and renders them into buffers, through the
// speech providers of a SpeechSystem.
class Synthesizer : public AudioRenderer {
public:
    // The process's speech system and the sound server (or the silent real-time output).
    Synthesizer();
    Synthesizer(std::shared_ptr<SpeechSystem> system, AudioOutputFactory outputs);
    // Stops everything; the delegate hears of each utterance before this returns.
    ~Synthesizer() override;
    Synthesizer(const Synthesizer&) = delete;
    Synthesizer& operator=(const Synthesizer&) = delete;

    // Waits for a delegate call in progress before it returns; null for none. Not to be called
    // from within a delegate call.
    void setDelegate(SynthesizerDelegate* delegate);
    // Queues the utterance; it is spoken after those queued before it.
    void speak(const Utterance& utterance);
    // Cuts off the utterance being spoken and drops the queued ones (each reported as cancelled),
    // and ends every render in progress.
    void stop();
    // Renders on a thread of its own and returns at once: the callback receives the audio as
    // buffers of 32-bit float frames, then one empty buffer, always, also when the utterance is
    // refused, the provider fails or the render is stopped. Refused SSML gives the empty buffer
    // alone.
    void write(const Utterance& utterance, BufferCallback callback) override;

    // Bounds on waiting for a provider that misbehaves; for renders that start afterwards.
    void setLimits(const RenderLimits& limits);

private:
    struct RenderJob {
        std::jthread thread;
        std::shared_ptr<std::atomic<bool>> done;
    };
    RenderLimits limits() const;
    void reapFinishedJobs();

    std::shared_ptr<SpeechSystem> system_;
    mutable std::mutex mutex_;
    RenderLimits limits_;
    std::list<RenderJob> jobs_;
    std::unique_ptr<Speaker> speaker_;
};

}  // namespace velmora
