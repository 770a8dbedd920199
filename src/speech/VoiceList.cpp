#include "speech/VoiceList.h"

#include <unicode/coll.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <memory>

namespace velmora::VoiceList {
namespace {

// The C and POSIX locales (ICU's en_US_POSIX, its default when LANG is C.UTF-8 or unset) name no
// language, and their code-point order is no one's choice: they collate as the root locale.
const icu::Locale& collationLocale(const icu::Locale& locale) {
    const bool posix = std::string_view(locale.getVariant()) == "POSIX";
    return posix || locale.isBogus() ? icu::Locale::getRoot() : locale;
}

// A collator that orders like a file manager: secondary strength ignores case (but not
// accents), and numeric ordering compares runs of digits by value ("Tom 9" before "Tom 10").
std::unique_ptr<icu::Collator> fileManagerCollator(const icu::Locale& locale) {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Collator> collator(icu::Collator::createInstance(collationLocale(locale), status));
    if (U_FAILURE(status)) {
        status = U_ZERO_ERROR;
        collator.reset(icu::Collator::createInstance(icu::Locale::getRoot(), status));
    }
    if (!collator) return nullptr;
    collator->setStrength(icu::Collator::SECONDARY);
    collator->setAttribute(UCOL_NUMERIC_COLLATION, UCOL_ON, status);
    return collator;
}

}  // namespace

const std::vector<std::pair<std::string, std::string>>& releases() {
    static const std::vector<std::pair<std::string, std::string>> table{
        {"ios3", "iPhone OS 3"}, {"ios4", "iOS 4"}, {"ios5", "iOS 5"}, {"ios6", "iOS 6"}, {"ios7", "iOS 7"},
    };
    return table;
}

std::vector<SpeechVoice> marked(std::vector<SpeechVoice> voices) {
    std::erase_if(
        voices, [](const SpeechVoice& voice) { return voice.identifier.find(marker) == std::string::npos; });
    return voices;
}

std::vector<SpeechVoice> sortedByName(std::vector<SpeechVoice> voices, const icu::Locale& locale) {
    const std::unique_ptr<icu::Collator> collator = fileManagerCollator(locale);
    if (!collator) return voices;
    std::vector<icu::UnicodeString> names;
    names.reserve(voices.size());
    for (const auto& voice : voices) names.push_back(icu::UnicodeString::fromUTF8(voice.name));

    std::vector<std::size_t> order(voices.size());
    for (std::size_t i = 0; i < order.size(); ++i) order[i] = i;
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        UErrorCode status = U_ZERO_ERROR;
        return collator->compare(names[a], names[b], status) == UCOL_LESS;
    });

    std::vector<SpeechVoice> sorted;
    sorted.reserve(voices.size());
    for (std::size_t index : order) sorted.push_back(std::move(voices[index]));
    return sorted;
}

std::vector<VoiceGroup> grouped(const std::vector<SpeechVoice>& sorted) {
    std::vector<VoiceGroup> groups;
    for (const auto& [key, label] : releases()) {
        const std::string needle = "." + key + ".";
        VoiceGroup group{label, {}};
        for (const auto& voice : sorted) {
            if (voice.identifier.find(needle) != std::string::npos) group.voices.push_back(voice);
        }
        if (!group.voices.empty()) groups.push_back(std::move(group));
    }
    return groups;
}

}  // namespace velmora::VoiceList
