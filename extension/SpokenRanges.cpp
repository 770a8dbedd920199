#include "SpokenRanges.h"

#include <algorithm>
#include <array>
#include <cctype>

#include "SsmlTags.h"

namespace velmora::provider {
namespace {

constexpr std::string_view asciiPunctuation = ".,;:!?\"'()[]{}";
constexpr std::array<std::string_view, 11> wordPunctuation{"…", "“",  "”",  "‘",  "’", "«",
                                                           "»", "。", "，", "！", "？"};
constexpr std::array<std::string_view, 3> fullWidthSentenceEnds{"。", "！", "？"};
constexpr std::string_view closers = "\"')]}";

// The size of the punctuation (a character or an SSML entity such as "&quot;") that ends
// text[..end), or 0.
std::size_t punctuationBefore(std::string_view text, bool ssml, std::size_t end) {
    const std::string_view before = text.substr(0, end);
    if (!before.empty() && asciiPunctuation.find(before.back()) != std::string_view::npos) {
        const std::size_t entity = before.rfind('&');
        const bool endsEntity = ssml && before.back() == ';' && entity != std::string_view::npos &&
                                std::all_of(before.begin() + entity + 1, before.end() - 1, [](char c) {
                                    return std::isalnum(static_cast<unsigned char>(c)) || c == '#';
                                });
        return endsEntity ? before.size() - entity : 1;
    }
    for (const auto mark : wordPunctuation)
        if (before.ends_with(mark)) return mark.size();
    return 0;
}

// The size of the punctuation that starts text[begin..), or 0.
std::size_t punctuationAt(std::string_view text, bool ssml, std::size_t begin) {
    const std::string_view after = text.substr(begin);
    if (ssml && after.starts_with('&')) {
        const std::size_t end = after.find(';');
        const std::string_view entity = after.substr(0, end == std::string_view::npos ? 0 : end + 1);
        return entity == "&quot;" || entity == "&apos;" ? entity.size() : 0;
    }
    if (!after.empty() && asciiPunctuation.find(after.front()) != std::string_view::npos) return 1;
    for (const auto mark : wordPunctuation)
        if (after.starts_with(mark)) return mark.size();
    return 0;
}

// The size of what closes a sentence after its ".", "?" or "!" `end` at `at`: a quote, a bracket,
// another `end` ("..."), or in SSML a quote's entity; 0 when none does.
std::size_t closerAt(std::string_view text, bool ssml, std::size_t at, char end) {
    if (at >= text.size()) return 0;
    if (closers.find(text[at]) != std::string_view::npos || text[at] == end) return 1;
    const std::string_view rest = text.substr(at);
    for (const std::string_view entity : {"&quot;", "&apos;"})
        if (ssml && rest.starts_with(entity)) return entity.size();
    return 0;
}

// Skips blanks and, in SSML, markup other than a sentence or paragraph edge.
std::size_t skipBlanksAndTags(std::string_view text, bool ssml, std::size_t at) {
    while (at < text.size()) {
        if (isSsmlBlank(text[at])) {
            ++at;
            continue;
        }
        const auto tag = ssml && text[at] == '<' ? ssmlTagAt(text, at) : std::nullopt;
        if (!tag || tag->name == "s" || tag->name == "p" || tag->name == "speak") break;
        at = tag->end;
    }
    return at;
}

// Whether the sentence ends after the ".", "?" or "!" at `at`; `after` is just past it and
// what closes after it.
bool endsSentence(std::string_view text, bool ssml, std::size_t at, std::size_t after) {
    if (after < text.size() && !isSsmlBlank(text[after]) && !(ssml && text[after] == '<')) return false;
    if (text[at] != '.') return true;
    const std::size_t next = skipBlanksAndTags(text, ssml, after);
    return next >= text.size() || !std::islower(static_cast<unsigned char>(text[next]));
}

}  // namespace

SourceMappedText::Span wordWithoutPunctuation(std::string_view text, bool ssml, SourceMappedText::Span word) {
    auto [begin, end] = word;
    end = std::min(end, text.size());
    while (begin < end) {
        const std::size_t size = punctuationBefore(text, ssml, end);
        if (size == 0 || size >= end - begin) break;
        end -= size;
    }
    while (begin < end) {
        const std::size_t size = punctuationAt(text, ssml, begin);
        if (size == 0 || size >= end - begin) break;
        begin += size;
    }
    return {begin, end};
}

std::size_t sentenceEnd(std::string_view text, bool ssml, std::size_t begin) {
    std::size_t lastText = begin;
    for (std::size_t at = begin; at < text.size();) {
        if (ssml && text[at] == '<') {
            const auto tag = ssmlTagAt(text, at);
            if (!tag || tag->name == "s" || tag->name == "p" || tag->name == "speak") return lastText;
            at = tag->end;
        } else if (std::ranges::any_of(fullWidthSentenceEnds, [&](std::string_view end) {
                       return text.substr(at).starts_with(end);
                   })) {
            return at + 3;
        } else if (text[at] == '.' || text[at] == '?' || text[at] == '!') {
            std::size_t after = at + 1;
            while (const std::size_t size = closerAt(text, ssml, after, text[at])) after += size;
            if (endsSentence(text, ssml, at, after)) return after;
            lastText = at = after;
        } else {
            if (!isSsmlBlank(text[at])) lastText = at + 1;
            ++at;
        }
    }
    return lastText;
}

}  // namespace velmora::provider
