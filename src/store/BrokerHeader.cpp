#include "store/BrokerHeader.h"

#include <iterator>

#include "base/ReadFile.h"

namespace velmora {
namespace {

bool isWhitespaceOrNewline(char32_t c) {
    return (c >= 0x09 && c <= 0x0D) || c == 0x20 || c == 0x85 || c == 0xA0 || c == 0x1680 ||
           (c >= 0x2000 && c <= 0x200A) || c == 0x2028 || c == 0x2029 || c == 0x202F || c == 0x205F ||
           c == 0x3000;
}

// The code point that starts at `at` and its length in bytes; an ill-formed byte counts as
// one non-space character.
std::pair<char32_t, std::size_t> decodeAt(std::string_view text, std::size_t at) {
    const auto lead = static_cast<unsigned char>(text[at]);
    std::size_t length = lead < 0x80 ? 1 : lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC0 ? 2 : 0;
    if (length == 0 || at + length > text.size()) return {0xFFFD, 1};
    if (length == 1) return {lead, 1};
    char32_t value = lead & (0x7F >> length);
    for (std::size_t i = 1; i < length; ++i) {
        const auto next = static_cast<unsigned char>(text[at + i]);
        if ((next & 0xC0) != 0x80) return {0xFFFD, 1};
        value = (value << 6) | (next & 0x3F);
    }
    return {value, length};
}

std::size_t startOfLastCodePoint(std::string_view text, std::size_t end) {
    std::size_t at = end - 1;
    while (at > 0 && end - at < 4 && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80) --at;
    return decodeAt(text, at).second == end - at ? at : end - 1;
}

}  // namespace

std::optional<std::string> readLatin1File(const std::filesystem::path& file) {
    const auto bytes = readWholeFile(file);
    if (!bytes) return std::nullopt;
    std::string text;
    text.reserve(bytes->size());
    for (const char byte : *bytes) {
        const auto code = static_cast<unsigned char>(byte);
        if (code < 0x80) {
            text += byte;
        } else {
            text += static_cast<char>(0xC0 | (code >> 6));
            text += static_cast<char>(0x80 | (code & 0x3F));
        }
    }
    return text;
}

std::string trimmedWhitespace(std::string_view text) {
    std::size_t begin = 0;
    while (begin < text.size()) {
        auto [code, length] = decodeAt(text, begin);
        if (!isWhitespaceOrNewline(code)) break;
        begin += length;
    }
    std::size_t end = text.size();
    while (end > begin) {
        const std::size_t start = startOfLastCodePoint(text, end);
        if (!isWhitespaceOrNewline(decodeAt(text, start).first)) break;
        end = start;
    }
    return std::string(text.substr(begin, end - begin));
}

}  // namespace velmora
