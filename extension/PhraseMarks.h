#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "SourceMappedText.h"

namespace velmora::provider {

// An SSML mark of a phrase: its name and the byte of the client's text just past its tag.
struct PhraseMark {
    std::string name;
    std::size_t clientByte = 0;

    bool operator==(const PhraseMark&) const = default;
};

struct MarkedPhrase {
    SourceMappedText ssml;          // as the engine gets it
    std::vector<PhraseMark> marks;  // every mark of the phrase, in order
};

// Takes out of a phrase's SSML the marks that text follows, each replaced by a blank (the tag
// parted words as a blank does), and lists every mark. espeak-ng drops a mark that follows the
// end of a sentence and, after a mark, reports the words of the rest of the clause one character
// off; a mark before text is instead reported with the next word. Marks after the last text stay:
// espeak-ng reports them where the sound ends.
MarkedPhrase takeMarks(const SourceMappedText& phrase);

}  // namespace velmora::provider
