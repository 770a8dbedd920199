#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "enhanced/EnhancedVoice.h"
#include "store/InstalledVoice.h"

namespace velmora {

// What the enhanced voice manager needs from the rest of the program, handed to its constructor
// so that tests can put fakes in. real() is the catalog, the install pipeline and the voice store.
struct EnhancedServices {
    using Progress = std::function<void(double fraction)>;
    using Unpacking = std::function<void()>;

    // Worker thread: the catalog's voices in display order; throws with the user's text.
    std::function<std::vector<EnhancedVoice>(std::stop_token)> fetchCatalog;
    // Worker thread: downloads, verifies and installs one voice; returns the pack's size.
    // `progress` receives the download's fraction done; `unpacking` is called once, after the
    // checksum matched. A stop request cancels the transfer, or the install right after it; once
    // checking has begun the install runs to its end.
    std::function<std::int64_t(const EnhancedVoice&, const Progress&, const Unpacking&, std::stop_token)>
        install;
    // Worker thread: an archive the user already has. `matchArchive` finds the catalog's voice
    // whose SHA-1 the file has (given the catalog and what its load failed with), and throws with
    // the user's text when none does; `installArchive` verifies and installs it as `install`
    // does, without progress.
    std::function<EnhancedVoice(const std::vector<EnhancedVoice>&, const std::filesystem::path&,
                                const std::string& catalogError)>
        matchArchive;
    std::function<std::int64_t(const EnhancedVoice&, const std::filesystem::path&, const Unpacking&,
                               std::stop_token)>
        installArchive;
    // The packs in the container, measured.
    std::function<std::vector<InstalledVoice>()> installedPacks;
    // Removals; both throw with the user's text.
    std::function<void(const EnhancedVoice&)> removePack;
    std::function<void()> removeAllPacks;
    std::function<void()> addMissingDictionaries;
    // The container's problem as the user is told it; absent when it is ready.
    std::function<std::optional<std::string>()> containerProblem;
    // NAME and LANGUAGE of a voice as the screen shows them.
    std::function<std::string(const EnhancedVoice&)> voiceName;
    std::function<std::string(const std::string& locale)> languageName;

    static EnhancedServices real();
};

}  // namespace velmora
