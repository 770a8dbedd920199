#include "SpeechProviderServer.h"

#include <poll.h>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>

#include "EspeakEngine.h"
#include "VoiceFeatures.h"
#include "base/UniqueFd.h"

namespace velmora::provider {
namespace {

constexpr int childPipe = 3;
// Descriptors kept free of waiting pipes, for the bus and the children being started.
constexpr rlim_t reservedDescriptors = 256;

// The child keeps only the standard streams and its own pipe: pipes of other requests that the
// bus library has already received must not stay open in it, or their clients would wait for
// this utterance to end before they see the end of their own stream.
[[noreturn]] void speakInChild(int pipe, const SynthesizeCall& call) {
    if (pipe != childPipe && ::dup2(pipe, childPipe) < 0) ::_exit(1);
    ::close_range(childPipe + 1, ~0u, 0);
    ::_exit(speakInto(childPipe, call) ? 0 : 1);
}

pid_t startSpeaking(const QueuedUtterance& utterance) {
    const pid_t child = ::fork();
    if (child == 0) speakInChild(utterance.pipe.get(), utterance.call);
    return child;
}

// Raises the process's descriptor limit as far as it may go; returns how many pipes may wait.
std::size_t waitingPipeLimit() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return 512;
    if (limit.rlim_cur < limit.rlim_max) {
        limit.rlim_cur = limit.rlim_max;
        ::setrlimit(RLIMIT_NOFILE, &limit);
        ::getrlimit(RLIMIT_NOFILE, &limit);
    }
    return limit.rlim_cur > 2 * reservedDescriptors ? limit.rlim_cur - reservedDescriptors
                                                    : reservedDescriptors;
}

int pollTimeout(const sdbus::IConnection::PollData& bus) {
    const auto timeout = bus.getRelativeTimeout();
    if (!timeout) return -1;
    return static_cast<int>(std::min<std::int64_t>((timeout->count() + 999) / 1000, 60'000));
}

}  // namespace

SpeechProviderServer::SpeechProviderServer(sdbus::IConnection& connection, std::vector<CompactVoice> voices)
    : connection_(connection),
      voices_(std::move(voices)),
      queue_(startSpeaking, waitingPipeLimit()),
      object_(sdbus::createObject(connection, objectPath)) {
    object_->registerMethod("Synthesize")
        .onInterface(interfaceName)
        .withInputParamNames("pipe_fd", "text", "voice_id", "pitch", "rate", "is_ssml", "language")
        .implementedAs([this](const sdbus::UnixFd& pipe, const std::string& text, const std::string& voiceId,
                              double pitch, double rate, bool isSsml, const std::string& language) {
            synthesize(pipe, text, voiceId, pitch, rate, isSsml, language);
        });
    object_->registerProperty("Voices").onInterface(interfaceName).withGetter([this] {
        return voiceEntries();
    });
    object_->registerProperty("Name").onInterface(interfaceName).withGetter([] {
        return std::string(providerName);
    });
    object_->finishRegistration();
}

std::string SpeechProviderServer::outputFormat() {
    return "audio/x-spiel,format=S16LE,channels=1,rate=" + std::to_string(EspeakEngine::sampleRate());
}

std::vector<SpeechProviderServer::VoiceEntry> SpeechProviderServer::voiceEntries() const {
    std::vector<VoiceEntry> entries;
    for (const auto& voice : voices_) {
        entries.emplace_back(voice.displayName(), voice.identifier(), outputFormat(), honouredVoiceFeatures,
                             voice.languages());
    }
    return entries;
}

void SpeechProviderServer::synthesize(const sdbus::UnixFd& pipe, const std::string& text,
                                      const std::string& voiceId, double pitch, double rate, bool isSsml,
                                      const std::string& language) {
    auto voice = findVoice(voices_, voiceId);
    if (!voice) throw sdbus::Error(unknownVoiceError, "No voice has the identifier \"" + voiceId + "\".");
    const std::string client = object_->getCurrentlyProcessedMessage()->getSender();
    queue_.reap();
    if (!queue_.accepts(client, text.size())) {
        throw sdbus::Error(busyError, "This client has " + std::to_string(UtteranceQueue::waitingPerClient) +
                                          " utterances or 64 MiB of text waiting; read some of them first.");
    }
    queue_.add(client, {pipe, {*voice, text, pitch, rate, isSsml, voice->spokenLanguage(language)}});
}

void SpeechProviderServer::serve() {
    sigset_t childEnded;
    sigemptyset(&childEnded);
    sigaddset(&childEnded, SIGCHLD);
    const UniqueFd endings(::signalfd(-1, &childEnded, SFD_CLOEXEC | SFD_NONBLOCK));
    if (endings.get() < 0) throw sdbus::Error("org.freedesktop.DBus.Error.Failed", std::strerror(errno));
    signalfd_siginfo drained{};
    while (true) {
        while (connection_.processPendingRequest()) {
        }
        const auto bus = connection_.getEventLoopPollData();
        pollfd watched[2] = {{bus.fd, bus.events, 0}, {endings.get(), POLLIN, 0}};
        if (::poll(watched, 2, pollTimeout(bus)) < 0 && errno != EINTR)
            throw sdbus::Error("org.freedesktop.DBus.Error.Failed", std::strerror(errno));
        if ((watched[1].revents & POLLIN) == 0) continue;
        while (::read(endings.get(), &drained, sizeof drained) > 0) {
        }
        queue_.reap();
    }
}

}  // namespace velmora::provider
