#include "enhanced/LocalArchive.h"

#include <algorithm>

#include "enhanced/Sha1.h"

namespace velmora {

ArchiveRefused ArchiveRefused::noCatalog(const std::string& reason) {
    return ArchiveRefused(
        "An archive is installed only when Apple's voice catalog can be read, because the archive must match "
        "the checksum published there. The catalog could not be read" +
        (reason.empty() ? std::string(".") : ": " + reason));
}

ArchiveRefused ArchiveRefused::notInCatalog(const std::string& id) {
    return ArchiveRefused(id + " is not in Apple's voice catalog, so no archive of it can be checked.");
}

ArchiveRefused ArchiveRefused::mismatch(const std::filesystem::path& archive, const std::string& id) {
    return ArchiveRefused(archive.filename().string() + " is not the archive Apple published for " + id +
                          ": its checksum does not match. Nothing was installed.");
}

ArchiveRefused ArchiveRefused::matchesNone(const std::filesystem::path& archive) {
    return ArchiveRefused(
        archive.filename().string() +
        " is not an archive Apple published for a voice of the catalog: its checksum matches "
        "none. Nothing was installed.");
}

EnhancedVoice voiceForArchive(std::span<const EnhancedVoice> catalog, const std::string& id,
                              const std::string& catalogError) {
    if (!catalogError.empty() || catalog.empty()) throw ArchiveRefused::noCatalog(catalogError);
    const auto found =
        std::ranges::find_if(catalog, [&id](const EnhancedVoice& voice) { return voice.id() == id; });
    if (found == catalog.end()) throw ArchiveRefused::notInCatalog(id);
    return *found;
}

EnhancedVoice voiceOfArchive(std::span<const EnhancedVoice> catalog, const std::filesystem::path& archive,
                             const std::string& catalogError) {
    if (!catalogError.empty() || catalog.empty()) throw ArchiveRefused::noCatalog(catalogError);
    const std::vector<std::byte> digest = Sha1::ofFile(archive);
    const auto found = std::ranges::find(catalog, digest, &EnhancedVoice::digest);
    if (found == catalog.end()) throw ArchiveRefused::matchesNone(archive);
    return *found;
}

}  // namespace velmora
