#pragma once

#include <cstdint>
#include <deque>
#include <span>
#include <string_view>
#include <vector>

#include "EspeakEngine.h"
#include "FramedStreamWriter.h"
#include "PhraseMarks.h"
#include "SourceMappedText.h"

namespace velmora::provider {

// Passes the engine's output on as the framed stream, phrase after phrase, its text positions
// turned into characters of the client's text: a word without the punctuation around it, a
// sentence up to its end, a mark at the end of its tag. A mark goes out just before the first
// word or sentence at or after it, or where the engine reports it, or else at the phrase's end.
class StreamListener : public EngineListener {
public:
    StreamListener(FramedStreamWriter& stream, std::string_view clientText, bool ssml);

    // The phrase the engine speaks next, as sent to it. A phrase that continues a sentence
    // reports no sentence start of its own.
    void startPhrase(const MarkedPhrase& spoken, bool continuesSentence);
    // `count` samples of silence.
    bool silence(std::size_t count);

    bool samples(std::span<const std::int16_t> samples) override { return stream_.audio(samples); }
    bool event(const EngineEvent& event) override;
    bool end() override { return marksUpTo(SIZE_MAX); }

private:
    std::size_t engineByte(std::size_t character) const;
    SourceMappedText::Span clientRange(const EngineEvent& event) const;
    bool send(FramedStreamWriter::EventType type, SourceMappedText::Span range, std::string_view name = {});
    // Sends the marks of the phrase not yet sent up to client byte `at`.
    bool marksUpTo(std::size_t at);
    bool marksUpToNamed(std::string_view name);

    FramedStreamWriter& stream_;
    std::string_view clientText_;
    bool ssml_;
    std::vector<std::uint32_t> clientCharactersBefore_;
    const SourceMappedText* spoken_ = nullptr;
    std::deque<PhraseMark> marks_;  // the phrase's marks not yet sent
    std::vector<std::size_t> engineCharacters_;
    bool skipSentence_ = false;
};

}  // namespace velmora::provider
