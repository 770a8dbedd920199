#include "SpeechProviderServer.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "EspeakEngine.h"
#include "UtteranceSpeaker.h"

namespace velmora::provider {
namespace {

// Feature bits of the interface.
enum VoiceFeature : std::uint64_t {
    eventsWord = 1u << 0,
    eventsSentence = 1u << 1,
    eventsSsmlMark = 1u << 3,
    ssmlSayAsCharacters = 1u << 6,
    ssmlBreak = 1u << 14,
    ssmlSub = 1u << 15,
    ssmlEmphasis = 1u << 17,
    ssmlProsody = 1u << 18,
    ssmlSentenceParagraph = 1u << 19,
};
constexpr const char* failedError = "org.freedesktop.DBus.Error.Failed";
constexpr int childPipe = 3;

// The child keeps only the standard streams and its own pipe: pipes of other requests that the
// bus library has already received must not stay open in it, or their clients would wait for
// this utterance to end before they see the end of their own stream.
[[noreturn]] void speakInChild(int pipe, const SynthesizeCall& call) {
    if (pipe != childPipe && ::dup2(pipe, childPipe) < 0) ::_exit(1);
    ::close_range(childPipe + 1, ~0u, 0);
    ::_exit(speakInto(childPipe, call) ? 0 : 1);
}

}  // namespace

const std::uint64_t SpeechProviderServer::voiceFeatures = eventsWord | eventsSentence | eventsSsmlMark |
                                                          ssmlSayAsCharacters | ssmlBreak | ssmlSub |
                                                          ssmlEmphasis | ssmlProsody | ssmlSentenceParagraph;

SpeechProviderServer::SpeechProviderServer(sdbus::IConnection& connection, std::vector<CompactVoice> voices)
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
    return "audio/x-spiel,format=S16LE,channels=1,rate=" + std::to_string(EspeakEngine::sampleRate());
}

std::vector<SpeechProviderServer::VoiceEntry> SpeechProviderServer::voiceEntries() const {
    std::vector<VoiceEntry> entries;
    for (const auto& voice : voices_) {
        entries.emplace_back(voice.displayName(), voice.identifier(), outputFormat(), voiceFeatures,
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
    children_.reap();
    if (!children_.mayStart(client)) {
        throw sdbus::Error(busyError, "This client already has " +
                                          std::to_string(UtteranceChildren::maximumPerClient) +
                                          " utterances in progress; read or close one of them first.");
    }
    const SynthesizeCall call{*voice, text, pitch, rate, isSsml, voice->spokenLanguage(language)};
    const pid_t child = ::fork();
    if (child < 0)
        throw sdbus::Error(failedError, std::string("Cannot start the synthesis: ") + std::strerror(errno));
    if (child == 0) speakInChild(pipe.get(), call);
    children_.add(child, client);
}

}  // namespace velmora::provider
