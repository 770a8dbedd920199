#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "store/VoiceRelease.h"

namespace velmora {

// One downloadable voice of the vendor's catalog.
struct EnhancedVoice {
    VoiceRelease release;            // the release whose voice format the pack has
    std::string locale;              // as the catalog spells it, such as "en-US"
    std::int64_t downloadSize = 0;   // archive bytes; 0 when the catalog gives none
    std::int64_t installedSize = 0;  // unpacked bytes as the catalog states them; 0 when none
    std::string url;                 // where the archive is downloaded from
    std::vector<std::byte> digest;   // SHA-1 of the archive as published, raw bytes
    std::string masteredVersion;     // the vendor's version label; empty when none

    // "ios6/en-US": keys per-voice state and names the voice on the command line.
    std::string id() const { return release.name + "/" + locale; }

    bool operator==(const EnhancedVoice&) const = default;
};

}  // namespace velmora

template <>
struct std::hash<velmora::EnhancedVoice> {
    std::size_t operator()(const velmora::EnhancedVoice& voice) const;
};
