#pragma once

#include <cstdint>

namespace velmora::provider {

// The feature bits of a voice in the provider interface's `Voices` property, by their number in
// the interface's own list. Bits the list leaves undefined make a client reject the whole value.
namespace VoiceFeature {
inline constexpr std::uint64_t eventsWord = 1u << 0;
inline constexpr std::uint64_t eventsSentence = 1u << 1;
inline constexpr std::uint64_t eventsSsmlMark = 1u << 3;
inline constexpr std::uint64_t ssmlSayAsCharacters = 1u << 7;
inline constexpr std::uint64_t ssmlBreak = 1u << 12;
inline constexpr std::uint64_t ssmlSub = 1u << 13;
inline constexpr std::uint64_t ssmlEmphasis = 1u << 15;
inline constexpr std::uint64_t ssmlProsody = 1u << 16;
inline constexpr std::uint64_t ssmlSentenceParagraph = 1u << 17;
}  // namespace VoiceFeature

// What every voice of this provider honours: word, sentence and mark events, each at its sample;
// say-as characters (spelled as plain text spells them), break (a phrase cut with its time),
// and sub, emphasis, prosody, s and p, which espeak-ng reads within a phrase.
inline constexpr std::uint64_t honouredVoiceFeatures =
    VoiceFeature::eventsWord | VoiceFeature::eventsSentence | VoiceFeature::eventsSsmlMark |
    VoiceFeature::ssmlSayAsCharacters | VoiceFeature::ssmlBreak | VoiceFeature::ssmlSub |
    VoiceFeature::ssmlEmphasis | VoiceFeature::ssmlProsody | VoiceFeature::ssmlSentenceParagraph;

}  // namespace velmora::provider
