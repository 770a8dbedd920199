#pragma once

#include "SourceMappedText.h"

namespace velmora::provider {

// SSML rewritten where espeak-ng would read it otherwise than the markup means:
//  - a time with a fraction of a second, such as time="1.5s", which espeak-ng reads as its whole
//    part in milliseconds (1 ms), is written in milliseconds: time="1500ms".
SourceMappedText ssmlForEspeak(const SourceMappedText& ssml);

}  // namespace velmora::provider
