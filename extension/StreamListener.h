#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "EspeakEngine.h"
#include "FramedStreamWriter.h"
#include "SourceMappedText.h"

namespace velmora::provider {

// Passes the engine's output on as the framed stream, phrase after phrase, its text positions
// turned into characters of the client's text.
class StreamListener : public EngineListener {
public:
    StreamListener(FramedStreamWriter& stream, std::string_view clientText);

    // The phrase the engine speaks next, as sent to it. A phrase that continues a sentence
    // reports no sentence start of its own.
    void startPhrase(const SourceMappedText& spoken, bool continuesSentence);
    // `count` samples of silence.
    bool silence(std::size_t count);

    bool samples(std::span<const std::int16_t> samples) override { return stream_.audio(samples); }
    bool event(const EngineEvent& event) override;

private:
    std::size_t engineByte(std::size_t character) const;

    FramedStreamWriter& stream_;
    std::vector<std::uint32_t> clientCharactersBefore_;
    const SourceMappedText* spoken_ = nullptr;
    std::vector<std::size_t> engineCharacters_;
    bool skipSentence_ = false;
};

}  // namespace velmora::provider
