#include "presenters/MainWindowTexts.h"

#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include "samples/Samples.h"

namespace velmora {
namespace {

// Unicode space separators and the tab; line breaks are kept.
bool isBlank(UChar32 character) { return character == '\t' || u_charType(character) == U_SPACE_SEPARATOR; }

std::string trimmedOfBlanks(std::string_view text) {
    const icu::UnicodeString unicode =
        icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), text.size()));
    int32_t start = 0;
    int32_t end = unicode.length();
    while (start < end && isBlank(unicode.char32At(start))) start = unicode.moveIndex32(start, 1);
    while (end > start && isBlank(unicode.char32At(unicode.moveIndex32(end, -1)))) {
        end = unicode.moveIndex32(end, -1);
    }
    std::string result;
    return unicode.tempSubStringBetween(start, end).toUTF8String(result);
}

}  // namespace

std::string MainWindowTexts::shortName(std::string_view name) {
    const std::size_t open = name.rfind('(');
    if (!name.ends_with(')') || open == std::string_view::npos) return std::string(name);
    return trimmedOfBlanks(name.substr(0, open));
}

std::string MainWindowTexts::greeting(std::string_view language, std::string_view shortName) {
    std::string text(Samples::templateFor(language));
    constexpr std::string_view slot = "%@";
    for (std::size_t at = text.find(slot); at != std::string::npos;
         at = text.find(slot, at + shortName.size())) {
        text.replace(at, slot.size(), shortName);
    }
    return text;
}

std::string MainWindowTexts::spokenText(std::string_view typed, std::string_view language,
                                        std::string_view shortName) {
    return typed.empty() ? greeting(language, shortName) : std::string(typed);
}

std::string MainWindowTexts::voiceAccessibleName(std::string_view shortName, std::string_view languageName) {
    return std::string(shortName) + ", " + std::string(languageName);
}

}  // namespace velmora
