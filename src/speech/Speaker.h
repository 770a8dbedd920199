#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <stop_token>
#include <thread>
#include <vector>

#include "speech/AudioOutput.h"
#include "speech/SpeechSystem.h"
#include "speech/UtteranceRender.h"

namespace velmora {

class SynthesizerDelegate;

// The synthesizer's speaking side: a queue of utterances spoken one at a time on a thread of
// its own, which also makes every delegate call.
class Speaker {
public:
    Speaker(std::shared_ptr<SpeechSystem> system, AudioOutputFactory outputs,
            std::function<RenderLimits()> limits);
    // Cancels what is queued and speaking, reports it, and joins the thread.
    ~Speaker();
    Speaker(const Speaker&) = delete;
    Speaker& operator=(const Speaker&) = delete;

    void setDelegate(SynthesizerDelegate* delegate);
    void enqueue(const Utterance& utterance);
    void stopAll();

private:
    void run(std::stop_token stop);
    bool speakOne(const Utterance& utterance, std::stop_token stop);
    void report(const Utterance& utterance, bool finished);

    std::shared_ptr<SpeechSystem> system_;
    AudioOutputFactory outputs_;
    std::function<RenderLimits()> limits_;

    std::mutex mutex_;
    std::condition_variable_any changed_;
    std::deque<Utterance> queue_;
    std::vector<Utterance> dropped_;  // taken off the queue by a stop, not yet reported
    std::stop_source current_;        // stops the utterance being spoken

    std::mutex delegateMutex_;
    SynthesizerDelegate* delegate_ = nullptr;

    std::jthread thread_;  // last: it starts after every member it uses exists
};

}  // namespace velmora
