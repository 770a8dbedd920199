#pragma once

#include <unicode/locid.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "speech/SpeechTypes.h"

namespace velmora {

// One release's voices, in the order of the sorted list.
struct VoiceGroup {
    std::string release;  // the release's label, such as "iOS 5"
    std::vector<SpeechVoice> voices;

    bool operator==(const VoiceGroup&) const = default;
};

// The rules that turn the system's voice list into the extension's sorted and grouped list;
// the window and the command line share them.
namespace VoiceList {

// Every identifier of the extension's voices contains this text.
inline constexpr std::string_view marker = "com.tarvenholt.Velmora.voice.";

// The releases in display order, as (key, label).
const std::vector<std::pair<std::string, std::string>>& releases();

// The voices whose identifier contains the marker anywhere, in their given order.
std::vector<SpeechVoice> marked(std::vector<SpeechVoice> voices);

// Sorted by name, ascending, as a file manager orders names: case-insensitive, digits by
// numeric value, following `locale` (the root locale's order for the C/POSIX locale). Names
// that compare equal keep their given order.
std::vector<SpeechVoice> sortedByName(std::vector<SpeechVoice> voices,
                                      const icu::Locale& locale = icu::Locale::getDefault());

// One group per release that has voices, in release order; a voice belongs to a release when
// its identifier contains "." + key + ".". Voices keep the order of `sorted`.
std::vector<VoiceGroup> grouped(const std::vector<SpeechVoice>& sorted);

}  // namespace VoiceList
}  // namespace velmora
