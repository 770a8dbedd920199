#include "UtteranceSpeaker.h"

#include <exception>

#include "EspeakEngine.h"
#include "FramedStreamWriter.h"
#include "PipeWriter.h"
#include "SpeechData.h"
#include "SsmlForEspeak.h"
#include "VoiceParameters.h"

namespace velmora::provider {
namespace {

bool startsCharacter(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; }

// The byte at which the character numbered `character` starts (the size when there is none).
std::size_t byteOfCharacter(std::string_view text, std::size_t character) {
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (startsCharacter(text[at]) && character-- == 0) return at;
    }
    return text.size();
}

std::uint32_t charactersBefore(std::string_view text, std::size_t byte) {
    std::uint32_t count = 0;
    for (std::size_t at = 0; at < byte && at < text.size(); ++at) count += startsCharacter(text[at]) ? 1 : 0;
    return count;
}

FramedStreamWriter::EventType streamEventType(EngineEvent::Kind kind) {
    switch (kind) {
        case EngineEvent::Kind::word:
            return FramedStreamWriter::EventType::word;
        case EngineEvent::Kind::sentence:
            return FramedStreamWriter::EventType::sentence;
        case EngineEvent::Kind::mark:
            break;
    }
    return FramedStreamWriter::EventType::mark;
}

// Passes the engine's output on as the framed stream, its text positions turned into
// characters of the client's text.
class StreamListener : public EngineListener {
public:
    StreamListener(FramedStreamWriter& stream, const SourceMappedText& spoken, std::string_view clientText)
        : stream_(stream), spoken_(spoken), clientText_(clientText) {}

    bool samples(std::span<const std::int16_t> samples) override { return stream_.audio(samples); }

    bool event(const EngineEvent& event) override {
        const std::string& engineText = spoken_.text();
        const std::size_t begin = byteOfCharacter(engineText, event.textPosition);
        const std::size_t end =
            event.length > 0 ? byteOfCharacter(engineText, event.textPosition + event.length) : begin;
        const auto origin = spoken_.origin(begin, end);
        return stream_.event(streamEventType(event.kind), charactersBefore(clientText_, origin.begin),
                             charactersBefore(clientText_, origin.end), event.name);
    }

private:
    FramedStreamWriter& stream_;
    const SourceMappedText& spoken_;
    std::string_view clientText_;
};

}  // namespace

bool speakInto(int fd, const SynthesizeCall& call) {
    try {
        const SpeechData data = SpeechData::forUtterance(call.voice, call.pitch);
        const SourceMappedText text(call.text);
        const SourceMappedText spoken = call.ssml ? ssmlForEspeak(data.rules.applyToSsml(text))
                                                  : plainTextAsSsml(data.rules.applyToText(text));
        const VoiceParameters voice =
            VoiceParameters::derive(data.fingerprint, data.gender, call.rate, call.pitch);
        PipeWriter pipe(fd);
        FramedStreamWriter stream(pipe);
        StreamListener listener(stream, spoken, call.text);
        return stream.header() &&
               EspeakEngine::synthesize(spoken.text(), EspeakEngine::languageFor(call.language), voice,
                                        listener);
    } catch (const std::exception&) {
        // Unreadable compact data or no memory: the stream ends without audio.
        return false;
    }
}

}  // namespace velmora::provider
