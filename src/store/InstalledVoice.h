#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include "store/VoiceRelease.h"

namespace velmora {

// One voice pack found in the shared container.
struct InstalledVoice {
    VoiceRelease release;
    std::string locale;               // the pack directory's name, such as "en-US"
    std::string name;                 // the voice name from the pack's broker.hdr
    std::filesystem::path directory;  // the pack directory in the container
    std::int64_t sizeInBytes = 0;     // files directly inside the pack directory

    bool operator==(const InstalledVoice&) const = default;
};

}  // namespace velmora

template <>
struct std::hash<velmora::InstalledVoice> {
    std::size_t operator()(const velmora::InstalledVoice& voice) const;
};
