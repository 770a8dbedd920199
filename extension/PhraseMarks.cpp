#include "PhraseMarks.h"

#include "SsmlTags.h"

namespace velmora::provider {
namespace {

// Just past the last character of text outside markup, or 0 when there is none.
std::size_t textEnd(std::string_view ssml) {
    std::size_t end = 0;
    for (std::size_t at = 0; at < ssml.size(); ++at) {
        if (ssml[at] == '<') {
            const auto tag = ssmlTagAt(ssml, at);
            if (!tag) return ssml.size();
            at = tag->end - 1;
        } else if (!isSsmlBlank(ssml[at])) {
            end = at + 1;
        }
    }
    return end;
}

}  // namespace

MarkedPhrase takeMarks(const SourceMappedText& phrase) {
    const std::string& text = phrase.text();
    const std::size_t lastText = textEnd(text);
    MarkedPhrase result{SourceMappedText::rewriteOf(phrase), {}};
    std::size_t copied = 0;
    for (std::size_t at = text.find('<'); at != std::string::npos; at = text.find('<', at + 1)) {
        const auto tag = ssmlTagAt(text, at);
        if (!tag) break;
        if (tag->name != "mark" || tag->kind == SsmlTag::Kind::end) continue;
        const auto name = ssmlAttribute(tag->inside, "name");
        result.marks.push_back({std::string(name.value_or("")), phrase.origin(tag->begin, tag->end).end});
        if (tag->begin >= lastText) continue;
        result.ssml.copy(phrase, copied, tag->begin - copied);
        result.ssml.insert(" ", phrase.origin(tag->begin, tag->begin));
        copied = tag->end;
    }
    result.ssml.copy(phrase, copied, text.size() - copied);
    return result;
}

}  // namespace velmora::provider
