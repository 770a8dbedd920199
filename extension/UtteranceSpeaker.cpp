#include "UtteranceSpeaker.h"

#include <algorithm>
#include <exception>
#include <vector>

#include "EspeakEngine.h"
#include "FramedStreamWriter.h"
#include "PipeWriter.h"
#include "SpeechData.h"
#include "SsmlForEspeak.h"
#include "VoiceParameters.h"

namespace velmora::provider {
namespace {

bool startsCharacter(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; }

// The byte at which each character of `text` starts, then its size.
std::vector<std::size_t> characterStarts(std::string_view text) {
    std::vector<std::size_t> starts;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (startsCharacter(text[at])) starts.push_back(at);
    }
    starts.push_back(text.size());
    return starts;
}

// For each byte offset of `text` (and its end), how many characters start before it.
std::vector<std::uint32_t> charactersBefore(std::string_view text) {
    std::vector<std::uint32_t> counts(text.size() + 1, 0);
    for (std::size_t at = 0; at < text.size(); ++at)
        counts[at + 1] = counts[at] + (startsCharacter(text[at]) ? 1 : 0);
    return counts;
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
        : stream_(stream),
          spoken_(spoken),
          engineCharacters_(characterStarts(spoken.text())),
          clientCharactersBefore_(charactersBefore(clientText)) {}

    bool samples(std::span<const std::int16_t> samples) override { return stream_.audio(samples); }

    bool event(const EngineEvent& event) override {
        const std::size_t begin = engineByte(event.textPosition);
        const std::size_t end = event.length > 0 ? engineByte(event.textPosition + event.length) : begin;
        const auto origin = spoken_.origin(begin, end);
        return stream_.event(streamEventType(event.kind), clientCharactersBefore_[origin.begin],
                             clientCharactersBefore_[origin.end], event.name);
    }

private:
    std::size_t engineByte(std::size_t character) const {
        return engineCharacters_[std::min(character, engineCharacters_.size() - 1)];
    }

    FramedStreamWriter& stream_;
    const SourceMappedText& spoken_;
    std::vector<std::size_t> engineCharacters_;
    std::vector<std::uint32_t> clientCharactersBefore_;
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
