#pragma once

#include <cstddef>
#include <string_view>

#include "SourceMappedText.h"

namespace velmora::provider {

// The ranges word and sentence events report, in bytes of the client's text (plain or SSML).

// A word as the engine reports it, without the punctuation around it: espeak-ng's word length
// takes in a full stop or comma after the word in some clauses ("world." after a mark).
SourceMappedText::Span wordWithoutPunctuation(std::string_view text, bool ssml, SourceMappedText::Span word);

// Just past the end of the sentence that starts at byte `begin`, as espeak-ng ends sentences:
// at ".", "?" or "!" (and the quotes or brackets that close after it) before a blank, where a
// full stop ends one only when no lower-case letter follows ("e.g. this" goes on); at "。", "？",
// "！"; at an SSML sentence or paragraph edge; else at the last character of text.
std::size_t sentenceEnd(std::string_view text, bool ssml, std::size_t begin);

}  // namespace velmora::provider
