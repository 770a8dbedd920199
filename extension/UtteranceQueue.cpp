#include "UtteranceQueue.h"

#include <poll.h>
#include <sys/wait.h>

#include <algorithm>

namespace velmora::provider {
namespace {

// A pipe whose reader has closed its end: the client cancelled the utterance or has gone.
bool readerClosed(const sdbus::UnixFd& pipe) {
    pollfd poll{pipe.get(), POLLOUT, 0};
    return ::poll(&poll, 1, 0) > 0 && (poll.revents & POLLERR) != 0;
}

}  // namespace

UtteranceQueue::UtteranceQueue(Speak speak, std::size_t descriptorLimit)
    : speak_(std::move(speak)), descriptorLimit_(descriptorLimit) {}

bool UtteranceQueue::accepts(const std::string& client, std::size_t textBytes) const {
    if (waitingTotal_ >= descriptorLimit_) return false;
    const auto found = clients_.find(client);
    if (found == clients_.end()) return textBytes <= waitingTextPerClient;
    return found->second.waiting.size() < waitingPerClient &&
           found->second.waitingText + textBytes <= waitingTextPerClient;
}

void UtteranceQueue::add(const std::string& client, QueuedUtterance utterance) {
    Client& entry = clients_[client];
    entry.waitingText += utterance.call.text.size();
    entry.waiting.push_back(std::move(utterance));
    ++waitingTotal_;
    startNext(entry);
}

void UtteranceQueue::reap() {
    for (auto entry = clients_.begin(); entry != clients_.end();) {
        Client& client = entry->second;
        std::erase_if(client.speaking, [](pid_t child) { return ::waitpid(child, nullptr, WNOHANG) != 0; });
        startNext(client);
        if (client.speaking.empty() && client.waiting.empty())
            entry = clients_.erase(entry);
        else
            ++entry;
    }
}

// A pipe leaves the queue here and is closed once its child holds it: the child alone then ends
// the client's stream. An utterance whose reader is gone, or whose child cannot start, ends
// with its pipe.
void UtteranceQueue::startNext(Client& client) {
    while (client.speaking.size() < speakingPerClient && !client.waiting.empty()) {
        const QueuedUtterance next = std::move(client.waiting.front());
        client.waiting.pop_front();
        client.waitingText -= next.call.text.size();
        --waitingTotal_;
        if (readerClosed(next.pipe)) continue;
        if (const pid_t child = speak_(next); child > 0) client.speaking.push_back(child);
    }
}

}  // namespace velmora::provider
