#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <stop_token>
#include <vector>

#include "enhanced/EnhancedVoice.h"
#include "enhanced/InstallFailure.h"

namespace velmora {

// The install pipeline as the rest of the program calls it.
struct EnhancedVoiceManager {
    using InstallFailure = velmora::InstallFailure;

    // Downloads, verifies and installs `voice`; returns the installed pack's size in bytes.
    // `progress` receives the download's fraction done (0 to 1, a last exact 1 when the archive
    // is complete); `unpacking` is called once, after the checksum matched. A stop request
    // cancels the transfer, or the install right after it; once checking has begun the install
    // runs to its end.
    static std::int64_t download(const EnhancedVoice& voice, const std::function<void(double)>& progress,
                                 const std::function<void()>& unpacking, std::stop_token stop = {});

    // The SHA-1 of a file's bytes, 20 raw bytes.
    static std::vector<std::byte> digest(const std::filesystem::path& file);
};

}  // namespace velmora
