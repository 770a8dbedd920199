#pragma once

#include <sdbus-c++/sdbus-c++.h>
#include <sys/types.h>

#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "UtteranceSpeaker.h"

namespace velmora::provider {

// An accepted Synthesize call: the pipe to speak into and what to say.
struct QueuedUtterance {
    sdbus::UnixFd pipe;
    SynthesizeCall call;
};

// The utterances of every bus client, each client's spoken in the order it sent them, a few at
// a time. A client hands over a pipe per utterance at once and reads them one after the other
// (a screen reader queues a document's sentences); speaking a few ahead fills the next pipes
// while the client plays the current one, and the pipes' back-pressure holds the speakers there.
// What a client can make the provider hold is bounded: speakingPerClient child processes, and
// waitingPerClient pipes with at most waitingTextPerClient bytes of text.
class UtteranceQueue {
public:
    static constexpr std::size_t speakingPerClient = 3;
    static constexpr std::size_t waitingPerClient = 4096;
    static constexpr std::size_t waitingTextPerClient = 64u << 20;

    // Starts speaking an utterance in a child process; returns its id, or -1 when none started.
    using Speak = std::function<pid_t(const QueuedUtterance&)>;

    // `descriptorLimit`: how many pipes all clients together may leave waiting.
    UtteranceQueue(Speak speak, std::size_t descriptorLimit);

    // Whether `client` (a unique bus name) may queue `textBytes` more of text: false only past
    // the bounds above.
    bool accepts(const std::string& client, std::size_t textBytes) const;
    // Queues an utterance and starts it when the client has fewer than speakingPerClient.
    void add(const std::string& client, QueuedUtterance utterance);
    // Reaps the children that have ended and starts the next utterances of their clients.
    void reap();

private:
    struct Client {
        std::deque<QueuedUtterance> waiting;
        std::size_t waitingText = 0;
        std::vector<pid_t> speaking;
    };

    void startNext(Client& client);

    Speak speak_;
    std::size_t descriptorLimit_;
    std::size_t waitingTotal_ = 0;
    std::map<std::string, Client, std::less<>> clients_;
};

}  // namespace velmora::provider
