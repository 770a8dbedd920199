#pragma once

#include <filesystem>
#include <string>

namespace velmora::speechd {

// The settings of the module's configuration file (velmora.conf), which speech-dispatcher
// names on the module's command line. Lines are "Name value" as in every speech-dispatcher
// file, "#" starts a comment; a missing file gives the defaults.
struct ModuleConfig {
    // "VelmoraAudioOutput": "default" plays through the sound server (or, with none, in silence
    // at real time); "null" always plays in silence at real time.
    std::string audioOutput = "default";

    static ModuleConfig read(const std::filesystem::path& file);
};

}  // namespace velmora::speechd
