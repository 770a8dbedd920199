#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace velmora::provider {

// One piece of markup in SSML text, read without a parser so that its bytes keep their place.
struct SsmlTag {
    enum class Kind { start, end, empty, other };  // other: comment, declaration, instruction
    Kind kind = Kind::other;
    std::string_view name;    // "s", "break", ...; empty for other
    std::string_view inside;  // between the name and ">" (or "/>"): the attributes
    std::size_t begin = 0;    // the "<"
    std::size_t end = 0;      // just past the ">"
};

using SsmlAttributes = std::vector<std::pair<std::string_view, std::string_view>>;

// The markup that starts at `at`, a "<"; absent when it never closes.
std::optional<SsmlTag> ssmlTagAt(std::string_view ssml, std::size_t at);

// The attributes in a tag's inside (" name=''" gives name -> ""); absent when they cannot be
// read.
std::optional<SsmlAttributes> ssmlAttributes(std::string_view inside);

// The value of attribute `name`; absent when the tag lacks it or cannot be read.
std::optional<std::string_view> ssmlAttribute(std::string_view inside, std::string_view name);

bool isSsmlBlank(char c);

}  // namespace velmora::provider
