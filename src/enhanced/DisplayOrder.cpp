#include "enhanced/DisplayOrder.h"

#include <unicode/locid.h>
#include <unicode/normalizer2.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <optional>

#include "store/VoiceStore.h"

namespace velmora {
namespace {

std::optional<std::string> localeDisplayName(const std::string& locale) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::Locale parsed = icu::Locale::forLanguageTag(locale, status);
    if (U_FAILURE(status) || parsed.isBogus() || *parsed.getLanguage() == '\0') return std::nullopt;
    icu::UnicodeString name;
    parsed.getDisplayName(icu::Locale::getDefault(), name);
    if (name.isEmpty()) return std::nullopt;
    std::string result;
    return name.toUTF8String(result);
}

// Texts compare by code point of their canonically composed form; UTF-8 byte order is code
// point order.
std::string composed(const icu::UnicodeString& text) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* nfc = icu::Normalizer2::getNFCInstance(status);
    std::string result;
    if (U_FAILURE(status)) return text.toUTF8String(result);
    icu::UnicodeString normal = nfc->normalize(text, status);
    return U_FAILURE(status) ? text.toUTF8String(result) : normal.toUTF8String(result);
}

std::string lowerCased(const std::string& text) {
    icu::UnicodeString unicode = icu::UnicodeString::fromUTF8(text);
    unicode.toLower(icu::Locale::getDefault());
    return composed(unicode);
}

struct SortKey {
    std::string releaseName;
    std::string displayName;
    std::string languageName;
};

SortKey sortKey(const EnhancedVoice& voice) {
    return {voice.release.name, lowerCased(displayName(voice)),
            composed(icu::UnicodeString::fromUTF8(languageName(voice.locale)))};
}

}  // namespace

std::string languageName(const std::string& locale) { return localeDisplayName(locale).value_or(locale); }

std::string displayName(const EnhancedVoice& voice) {
    if (auto name = VoiceStore::voiceName(voice.release, voice.locale)) return *name;
    return languageName(voice.locale);
}

void sortForDisplay(std::vector<EnhancedVoice>& voices) {
    std::vector<std::pair<SortKey, EnhancedVoice>> keyed;
    keyed.reserve(voices.size());
    for (auto& voice : voices) keyed.emplace_back(sortKey(voice), std::move(voice));
    std::ranges::stable_sort(keyed, [](const auto& a, const auto& b) {
        const SortKey& x = a.first;
        const SortKey& y = b.first;
        if (x.releaseName != y.releaseName) return x.releaseName < y.releaseName;
        if (x.displayName != y.displayName) return x.displayName < y.displayName;
        return x.languageName < y.languageName;
    });
    voices.clear();
    for (auto& [key, voice] : keyed) voices.push_back(std::move(voice));
}

}  // namespace velmora
