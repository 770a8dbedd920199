#pragma once

#include <algorithm>
#include <cctype>
#include <string>
#include <string_view>

namespace velmora {

// Protocol texts (HTTP header names, media types, markup) compared without regard to case or
// surrounding white space; ASCII only, whatever the locale.
inline std::string asciiLowerCase(std::string_view text) {
    std::string lower(text);
    std::ranges::transform(lower, lower.begin(), [](unsigned char c) {
        return static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    });
    return lower;
}

inline std::string asciiUpperCase(std::string_view text) {
    std::string upper(text);
    std::ranges::transform(upper, upper.begin(), [](unsigned char c) {
        return static_cast<char>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c);
    });
    return upper;
}

inline std::string_view asciiTrimmed(std::string_view text) {
    const auto space = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
    while (!text.empty() && space(text.front())) text.remove_prefix(1);
    while (!text.empty() && space(text.back())) text.remove_suffix(1);
    return text;
}

}  // namespace velmora
