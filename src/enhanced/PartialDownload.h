#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <stop_token>
#include <string>
#include <vector>

#include "base/UniqueFd.h"
#include "enhanced/EnhancedVoice.h"

namespace velmora {

// The partial archive of one voice, kept in the user's cache ($XDG_CACHE_HOME/velmora/downloads)
// so that a download cut short resumes where it stopped: RELEASE_LOCALE.part holds the bytes
// received, RELEASE_LOCALE.meta the address, the server's validator and the length reached.
// The metadata is replaced whole (written beside, then renamed) only after the bytes it counts
// were written, so a killed program leaves a pair that agrees: bytes past the recorded length
// are cut off when the partial is opened again. The SHA-1 of the whole file still decides.
class PartialDownload {
public:
    // Bytes received between two records of the length reached.
    static constexpr std::int64_t recordInterval = 16 << 20;
    static constexpr std::chrono::hours keptFor{24 * 7};

    // Opens the partial of `voice`, locked against other programs for as long as it lives. One
    // of another address, or whose bytes fall short of the recorded length, starts empty.
    // Throws filesystem_error, or std::runtime_error when another program holds it.
    explicit PartialDownload(const EnhancedVoice& voice);
    // Records the length reached, unless the partial was discarded.
    ~PartialDownload();
    PartialDownload(const PartialDownload&) = delete;
    PartialDownload& operator=(const PartialDownload&) = delete;

    const std::filesystem::path& file() const { return file_; }
    std::int64_t length() const { return length_; }
    // The server's ETag or Last-Modified for the bytes held; empty when they cannot be resumed.
    const std::string& validator() const { return validator_; }

    // Empties the file for a new transfer of the file that `validator` names.
    void startOver(const std::string& validator);
    void append(std::span<const std::byte> piece);
    // Removes both files: the archive was used, or cannot be.
    void discard();

    // The folder of every partial.
    static std::filesystem::path folder();
    // Removes the partials of voices that `catalog` no longer lists, and those untouched for a
    // week; partials that a running download holds stay.
    static void sweep(std::span<const EnhancedVoice> catalog);

private:
    void record();

    std::filesystem::path file_;
    std::filesystem::path metadata_;
    std::string url_;
    UniqueFd fd_;
    std::string validator_;
    std::int64_t length_ = 0;
    std::int64_t recorded_ = 0;
    bool discarded_ = false;
};

// The catalog as installs use it: fetched, then the partials it no longer needs swept away.
// Throws as EnhancedVoiceCatalog::fetch does.
std::vector<EnhancedVoice> fetchCatalogSweepingPartials(std::stop_token stop);

}  // namespace velmora
