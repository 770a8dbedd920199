#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

#include "speech/AudioOutput.h"
#include "speech/SpeechSystem.h"
#include "speech/UtteranceRender.h"

namespace velmora::speechd {

// One message to speak: what, with which voice and scales, and at what volume.
struct Message {
    Utterance utterance;
    float gain = 1.0f;
};

// Speaks one message at a time on a thread of its own, playing it through an audio output and
// reporting, as speech-dispatcher wants them and at the moment they are heard: "701 BEGIN"
// before the first sample plays, each index mark when the audio before it has been heard, then
// one of "702 END", "703 STOP" (stopped, or the provider failed) and "704 PAUSE".
class MessagePlayer {
public:
    using Notify = std::function<void(const std::vector<std::string>& lines)>;

    MessagePlayer(std::shared_ptr<SpeechSystem> system, AudioOutputFactory outputs, Notify notify,
                  RenderLimits limits = {});
    // Stops the message being spoken and waits for its last event.
    ~MessagePlayer();
    MessagePlayer(const MessagePlayer&) = delete;
    MessagePlayer& operator=(const MessagePlayer&) = delete;

    // Starts speaking `message` once the one before it has ended.
    void play(Message message);
    // Silences the message at once and ends it with STOP; nothing when none is being spoken.
    void stop();
    // Ends the message with PAUSE at its next index mark, after reporting that mark; a message
    // with no mark left ends as usual.
    void pause();

    enum class Halt { none, stop, pause };

private:
    void speak(const Message& message, std::stop_source halt);

    std::shared_ptr<SpeechSystem> system_;
    AudioOutputFactory outputs_;
    Notify notify_;
    RenderLimits limits_;
    std::stop_source halt_;
    std::atomic<Halt> reason_{Halt::none};
    std::atomic<bool> pauseAtMark_{false};
    std::jthread thread_;
};

}  // namespace velmora::speechd
