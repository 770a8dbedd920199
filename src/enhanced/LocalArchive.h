#pragma once

#include <filesystem>
#include <span>
#include <stdexcept>
#include <string>

#include "enhanced/EnhancedVoice.h"

namespace velmora {

// Why an archive the user already has is not installed. Nothing unverified is ever installed:
// the archive must match the SHA-1 that the catalog publishes for the voice.
class ArchiveRefused : public std::runtime_error {
public:
    // The catalog could not be read (offline), so there is nothing to check the archive against.
    static ArchiveRefused noCatalog(const std::string& reason);
    static ArchiveRefused notInCatalog(const std::string& id);
    static ArchiveRefused mismatch(const std::filesystem::path& archive, const std::string& id);
    static ArchiveRefused matchesNone(const std::filesystem::path& archive);

private:
    explicit ArchiveRefused(const std::string& text) : std::runtime_error(text) {}
};

// The catalog voice that an archive of `id` must match. `catalog` is the catalog as loaded;
// when it could not be loaded, pass what the load failed with as `catalogError`. Throws
// ArchiveRefused (noCatalog when `catalogError` is given or `catalog` is empty, notInCatalog).
EnhancedVoice voiceForArchive(std::span<const EnhancedVoice> catalog, const std::string& id,
                              const std::string& catalogError = {});

// The catalog voice whose published SHA-1 the archive at `archive` has, for an archive the user
// chose without naming its voice. Reads the whole file. Throws ArchiveRefused (noCatalog as
// voiceForArchive, matchesNone) or filesystem_error when the file cannot be read.
EnhancedVoice voiceOfArchive(std::span<const EnhancedVoice> catalog, const std::filesystem::path& archive,
                             const std::string& catalogError = {});

}  // namespace velmora
