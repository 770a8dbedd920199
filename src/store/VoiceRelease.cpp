#include "store/VoiceRelease.h"

#include <algorithm>

namespace velmora {

const std::vector<VoiceRelease>& VoiceRelease::all() {
    static const std::vector<VoiceRelease> table{
        {"ios3", "iPhone OS 3", "ios3", std::nullopt, false},
        {"ios4", "iOS 4", std::nullopt, std::nullopt, false},
        {"ios5", "iOS 5", "ios5", "3", false},
        {"ios6", "iOS 6", "ios6", "4", false},
        {"ios7", "iOS 7", "ios7", "5", true},
    };
    return table;
}

std::vector<VoiceRelease> VoiceRelease::downloadable() {
    std::vector<VoiceRelease> result;
    std::ranges::copy_if(all(), std::back_inserter(result),
                         [](const VoiceRelease& release) { return release.formatVersion.has_value(); });
    return result;
}

std::optional<VoiceRelease> VoiceRelease::named(std::string_view name) {
    for (const auto& release : all()) {
        if (release.name == name) return release;
    }
    return std::nullopt;
}

void FieldHasher::text(std::string_view value) {
    // The length goes first so that ("ab", "c") and ("a", "bc") feed different streams.
    integer(static_cast<long long>(value.size()));
    bytes(value.data(), value.size());
}

void FieldHasher::optionalText(const std::optional<std::string>& value) {
    byte(value ? 1 : 0);
    if (value) text(*value);
}

void hashInto(FieldHasher& hasher, const VoiceRelease& release) {
    hasher.text(release.name);
    hasher.text(release.label);
    hasher.optionalText(release.directory);
    hasher.optionalText(release.formatVersion);
    hasher.byte(release.enhancedTakesPitch ? 1 : 0);
}

}  // namespace velmora

std::size_t std::hash<velmora::VoiceRelease>::operator()(const velmora::VoiceRelease& release) const {
    velmora::FieldHasher hasher;
    velmora::hashInto(hasher, release);
    return hasher.result();
}
