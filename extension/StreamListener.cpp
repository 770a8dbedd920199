#include "StreamListener.h"

#include <algorithm>
#include <utility>

#include "SpokenRanges.h"

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

}  // namespace

StreamListener::StreamListener(FramedStreamWriter& stream, std::string_view clientText, bool ssml)
    : stream_(stream),
      clientText_(clientText),
      ssml_(ssml),
      clientCharactersBefore_(charactersBefore(clientText)) {}

void StreamListener::startPhrase(const MarkedPhrase& spoken, bool continuesSentence) {
    spoken_ = &spoken.ssml;
    marks_.assign(spoken.marks.begin(), spoken.marks.end());
    engineCharacters_ = characterStarts(spoken.ssml.text());
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
    if (event.kind == EngineEvent::Kind::mark) return marksUpToNamed(event.name);
    const SourceMappedText::Span range = clientRange(event);
    if (!marksUpTo(range.begin)) return false;
    if (event.kind == EngineEvent::Kind::sentence)
        return send(FramedStreamWriter::EventType::sentence,
                    {range.begin, sentenceEnd(clientText_, ssml_, range.begin)});
    return send(FramedStreamWriter::EventType::word, wordWithoutPunctuation(clientText_, ssml_, range));
}

SourceMappedText::Span StreamListener::clientRange(const EngineEvent& event) const {
    const std::size_t begin = engineByte(event.textPosition);
    const std::size_t end = event.length > 0 ? engineByte(event.textPosition + event.length) : begin;
    return spoken_->origin(begin, end);
}

bool StreamListener::send(FramedStreamWriter::EventType type, SourceMappedText::Span range,
                          std::string_view name) {
    const auto characters = [&](std::size_t byte) {
        return clientCharactersBefore_[std::min(byte, clientCharactersBefore_.size() - 1)];
    };
    return stream_.event(type, characters(range.begin), characters(range.end), name);
}

bool StreamListener::marksUpTo(std::size_t at) {
    for (; !marks_.empty() && marks_.front().clientByte <= at; marks_.pop_front()) {
        const PhraseMark& mark = marks_.front();
        if (!send(FramedStreamWriter::EventType::mark, {mark.clientByte, mark.clientByte}, mark.name))
            return false;
    }
    return true;
}

// A mark the engine reports is one left in its text; those before it were taken out.
bool StreamListener::marksUpToNamed(std::string_view name) {
    const auto named = std::ranges::find(marks_, name, &PhraseMark::name);
    return named == marks_.end() || marksUpTo(named->clientByte);
}

std::size_t StreamListener::engineByte(std::size_t character) const {
    return engineCharacters_[std::min(character, engineCharacters_.size() - 1)];
}

}  // namespace velmora::provider
