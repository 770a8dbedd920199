#pragma once

#include "SourceMappedText.h"

namespace velmora::provider {

// SSML rewritten where espeak-ng would read it otherwise than the markup means:
//  - a time with a fraction of a second, such as time="1.5s", which espeak-ng reads as its whole
//    part in milliseconds (1 ms), is written in milliseconds: time="1500ms";
//  - the start tag of a sentence (<s>, without attributes) goes: espeak-ng ends a clause there
//    as well as at the sentence's end, which doubles the pause between sentences (0.46 s
//    against 0.23 s after a full stop in text);
//  - a voice element that selects nothing (no attribute but an empty name) gives way to its
//    content: espeak-ng would start a new clause and reset the voice's settings at it.
SourceMappedText ssmlForEspeak(const SourceMappedText& ssml);

// Plain text as the SSML that says it, so that plain text and SSML end alike: espeak-ng closes
// an SSML utterance with a clause-final pause that it leaves out after plain text.
SourceMappedText plainTextAsSsml(const SourceMappedText& text);

}  // namespace velmora::provider
