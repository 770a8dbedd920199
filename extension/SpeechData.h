#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "CompactVoice.h"
#include "PronunciationRules.h"

namespace velmora::provider {

// The voice data one utterance is spoken from: a pack in the shared container or the compact
// data in the bundle, read afresh for every utterance.
struct SpeechData {
    enum class Source { compact, pack };

    Source source = Source::compact;
    std::filesystem::path directory;
    std::uint64_t fingerprint = 0;  // hash of the header and the voice data files
    std::string gender;             // "female" or "male", from the compact header
    PronunciationRules rules;       // user rules, then the user dictionary

    // Limits on what is read: larger headers count as unreadable, data files are hashed only
    // up to this many bytes each, and only this many of them.
    static constexpr std::uintmax_t maximumHeaderSize = 1 << 20;
    static constexpr std::size_t hashedBytesPerFile = 64 * 1024;
    static constexpr std::size_t maximumHashedFiles = 64;
    static constexpr std::uintmax_t maximumRulesFileSize = 1 << 20;

    // The data for an utterance of `voice` at `pitch` (1.0 normal). A pack is used when its header
    // can be read and names a voice, and, for a pitch other than 1.0, only when the release's
    // enhanced engine takes pitch; otherwise the compact data. Throws std::runtime_error when
    // even the compact data cannot be read.
    static SpeechData forUtterance(const CompactVoice& voice, double pitch);

    // The data in `directory`, or absent when its header is unreadable, too large or names no
    // voice, or a data file cannot be read.
    static std::optional<SpeechData> read(const std::filesystem::path& directory, Source source);
};

}  // namespace velmora::provider
