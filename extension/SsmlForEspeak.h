#pragma once

#include "SourceMappedText.h"

namespace velmora::provider {

// The SSML of one phrase rewritten where espeak-ng would read it otherwise than it means:
//  - a voice element that selects nothing (no attribute but an empty name) gives way to its
//    content: espeak-ng would start a new clause and reset the voice's settings at it;
//  - characters to be spelled (say-as interpret-as="characters") become those characters
//    with a blank between them, as plain text would give them: espeak-ng starts a new clause
//    at say-as, with a pause before the first character.
SourceMappedText ssmlForEspeak(const SourceMappedText& ssml);

// Plain text as the SSML that says it, so that plain text and SSML end alike: espeak-ng closes
// an SSML utterance with a clause-final pause that it leaves out after plain text.
SourceMappedText plainTextAsSsml(const SourceMappedText& text);

}  // namespace velmora::provider
