#include "SsmlTags.h"

#include <algorithm>

namespace velmora::provider {
namespace {

std::size_t skipBlanks(std::string_view text, std::size_t at) {
    while (at < text.size() && isSsmlBlank(text[at])) ++at;
    return at;
}

std::string_view trimmedEnd(std::string_view text) {
    while (!text.empty() && isSsmlBlank(text.back())) text.remove_suffix(1);
    return text;
}

// Comments, declarations and processing instructions, which end at "-->" or ">".
std::optional<SsmlTag> otherMarkupAt(std::string_view ssml, std::size_t at) {
    const bool comment = ssml.substr(at).starts_with("<!--");
    const std::size_t close = comment ? ssml.find("-->", at + 4) : ssml.find('>', at);
    if (close == std::string_view::npos) return std::nullopt;
    SsmlTag tag;
    tag.begin = at;
    tag.end = close + (comment ? 3 : 1);
    return tag;
}

}  // namespace

bool isSsmlBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

std::optional<SsmlTag> ssmlTagAt(std::string_view ssml, std::size_t at) {
    if (at + 1 < ssml.size() && (ssml[at + 1] == '!' || ssml[at + 1] == '?')) return otherMarkupAt(ssml, at);
    const std::size_t close = ssml.find('>', at);
    if (close == std::string_view::npos) return std::nullopt;
    SsmlTag tag{SsmlTag::Kind::start, {}, ssml.substr(at + 1, close - at - 1), at, close + 1};
    if (tag.inside.starts_with('/')) {
        tag.kind = SsmlTag::Kind::end;
        tag.inside.remove_prefix(1);
    } else if (tag.inside.ends_with('/')) {
        tag.kind = SsmlTag::Kind::empty;
        tag.inside.remove_suffix(1);
    }
    const std::size_t nameEnd = std::min(tag.inside.find_first_of(" \t\n\r"), tag.inside.size());
    tag.name = tag.inside.substr(0, nameEnd);
    tag.inside = trimmedEnd(tag.inside.substr(nameEnd));
    return tag;
}

std::optional<SsmlAttributes> ssmlAttributes(std::string_view inside) {
    SsmlAttributes result;
    for (std::size_t at = skipBlanks(inside, 0); at < inside.size(); at = skipBlanks(inside, at)) {
        const std::size_t equals = inside.find('=', at);
        if (equals == std::string_view::npos) return std::nullopt;
        const std::string_view name = trimmedEnd(inside.substr(at, equals - at));
        const std::size_t quote = skipBlanks(inside, equals + 1);
        if (quote >= inside.size() || (inside[quote] != '"' && inside[quote] != '\'')) return std::nullopt;
        const std::size_t close = inside.find(inside[quote], quote + 1);
        if (close == std::string_view::npos) return std::nullopt;
        result.emplace_back(name, inside.substr(quote + 1, close - quote - 1));
        at = close + 1;
    }
    return result;
}

std::optional<std::string_view> ssmlAttribute(std::string_view inside, std::string_view name) {
    const auto all = ssmlAttributes(inside);
    if (!all) return std::nullopt;
    const auto found = std::ranges::find(*all, name, &std::pair<std::string_view, std::string_view>::first);
    if (found == all->end()) return std::nullopt;
    return found->second;
}

}  // namespace velmora::provider
