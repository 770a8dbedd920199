#include "StreamListener.h"

#include <algorithm>
#include <utility>

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

}  // namespace

StreamListener::StreamListener(FramedStreamWriter& stream, std::string_view clientText)
    : stream_(stream), clientCharactersBefore_(charactersBefore(clientText)) {}

void StreamListener::startPhrase(const SourceMappedText& spoken, bool continuesSentence) {
    spoken_ = &spoken;
    engineCharacters_ = characterStarts(spoken.text());
    skipSentence_ = continuesSentence;
}

bool StreamListener::silence(std::size_t count) {
    static const std::vector<std::int16_t> zeros(4096, 0);
    for (std::size_t left = count; left > 0;) {
        const std::size_t part = std::min(left, zeros.size());
        if (!stream_.audio(std::span(zeros).first(part))) return false;
        left -= part;
    }
    return true;
}

bool StreamListener::event(const EngineEvent& event) {
    // The engine reports a sentence start first, if at all.
    if (std::exchange(skipSentence_, false) && event.kind == EngineEvent::Kind::sentence) return true;
    if (spoken_ == nullptr) return true;
    const std::size_t begin = engineByte(event.textPosition);
    const std::size_t end = event.length > 0 ? engineByte(event.textPosition + event.length) : begin;
    const auto origin = spoken_->origin(begin, end);
    return stream_.event(streamEventType(event.kind), clientCharactersBefore_[origin.begin],
                         clientCharactersBefore_[origin.end], event.name);
}

std::size_t StreamListener::engineByte(std::size_t character) const {
    return engineCharacters_[std::min(character, engineCharacters_.size() - 1)];
}

}  // namespace velmora::provider
