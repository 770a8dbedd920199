#include "SpeechProviderServer.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "EspeakEngine.h"
#include "SynthesisJob.h"

namespace velmora::provider {
namespace {

constexpr const char* unknownVoiceError = "com.tarvenholt.Velmora.Speech.Provider.Error.UnknownVoice";
constexpr const char* failedError = "org.freedesktop.DBus.Error.Failed";
constexpr int childPipe = 3;

// The child keeps only the standard streams and its own pipe: pipes of other requests that the
// bus library has already received must not stay open in it, or their clients would wait for
// this utterance to end before they see the end of their own stream.
[[noreturn]] void speakInChild(int pipe, const SynthesisRequest& request) {
    if (pipe != childPipe && ::dup2(pipe, childPipe) < 0) ::_exit(1);
    ::close_range(childPipe + 1, ~0u, 0);
    ::_exit(speakInto(childPipe, request) ? 0 : 1);
}

}  // namespace

SpeechProviderServer::SpeechProviderServer(sdbus::IConnection& connection, std::vector<ProviderVoice> voices)
    : voices_(std::move(voices)), object_(sdbus::createObject(connection, objectPath)) {
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
    return "audio/x-raw,format=S16LE,channels=1,rate=" + std::to_string(EspeakEngine::sampleRate());
}

std::vector<SpeechProviderServer::VoiceEntry> SpeechProviderServer::voiceEntries() const {
    std::vector<VoiceEntry> entries;
    for (const auto& voice : voices_) {
        entries.emplace_back(voice.displayName(), voice.identifier(), outputFormat(), std::uint64_t{0},
                             std::vector<std::string>{voice.locale});
    }
    return entries;
}

void SpeechProviderServer::synthesize(const sdbus::UnixFd& pipe, const std::string& text,
                                      const std::string& voiceId, double pitch, double rate, bool isSsml,
                                      const std::string& /*language*/) {
    auto voice = findVoice(voices_, voiceId);
    if (!voice) throw sdbus::Error(unknownVoiceError, "No voice has the identifier \"" + voiceId + "\".");
    const SynthesisRequest request{*voice, text, pitch, rate, isSsml};
    const pid_t child = ::fork();
    if (child < 0)
        throw sdbus::Error(failedError, std::string("Cannot start the synthesis: ") + std::strerror(errno));
    if (child == 0) speakInChild(pipe.get(), request);
}

}  // namespace velmora::provider
