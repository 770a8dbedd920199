#pragma once

#include <optional>
#include <vector>

#include "SourceMappedText.h"

namespace velmora::provider {

// One phrase of an utterance: a whole SSML document, its elements that were open where the
// phrase starts reopened at its start and those still open at its end closed there, so that
// the engine speaks it exactly as if it were sent alone.
struct SsmlPhrase {
    SourceMappedText ssml;
    // The seconds of break asked for between the previous phrase (or the start) and this one.
    std::optional<double> breakBefore;
    // Cut from the previous phrase by a break, within one sentence.
    bool continuesSentence = false;
};

struct SsmlPhrases {
    std::vector<SsmlPhrase> phrases;
    std::optional<double> breakAfter;  // the break after the last phrase
};

// Cuts an SSML utterance into its phrases: at each sentence or paragraph (<s>, <p>, start or
// end) and at each break. A break's seconds are its time ("1.5s", "250ms"), else those of its
// strength (medium when it names none); strength "none" asks for no break and cuts nothing.
// A stretch without text makes no phrase; its marks go to the next phrase (or the last).
SsmlPhrases splitIntoPhrases(const SourceMappedText& ssml);

}  // namespace velmora::provider
