#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <span>
#include <stop_token>
#include <string>
#include <vector>

#include "enhanced/EnhancedVoice.h"

namespace velmora {

class EarlyUnpack;
class PartialDownload;
class StagingFolder;

// Turns one catalog voice into an installed pack: download (resuming a partial download kept in
// the user's cache), check the SHA-1, unpack into a private staging folder, find the voice by its
// header, move it into the container and top up its dictionaries. The staging folder goes on
// every way out; an installed pack of the same voice is replaced only by a complete new one.
class VoiceInstaller {
public:
    using Progress = std::function<void(double fraction)>;
    using Unpacking = std::function<void()>;

    static constexpr const char* archiveName = "voice.zip";
    static constexpr const char* unpackedName = "unpacked";
    static constexpr const char* assetHeaderName = "broker.hdr.asset";

    // `progress` is called during the download, `unpacking` once the checksum has matched.
    VoiceInstaller(EnhancedVoice voice, Progress progress, Unpacking unpacking, std::stop_token stop);

    // Returns the installed pack's size in bytes. Throws InstallFailure, NotEnoughSpace,
    // EnhancedVoiceCatalog::Failure, TransferFailure, ZipReader::Failure or filesystem_error.
    std::int64_t run();

    // The same for an archive the user already has (it is left where it is): its SHA-1 must be
    // the catalog's, or ArchiveRefused::mismatch is thrown and nothing is installed. `progress`
    // is not called.
    std::int64_t installFrom(const std::filesystem::path& archive);

    // The bytes `run` must have room for in the container: the catalog's unpacked size or the
    // archive's recorded total, whichever is larger.
    static std::int64_t neededSpace(std::int64_t installedSize, std::span<const std::byte> archive);

private:
    StagingFolder createStaging() const;
    std::vector<std::byte> download(PartialDownload& partial, EarlyUnpack* early);
    bool roomToUnpackEarly(const PartialDownload& partial, const std::filesystem::path& staging) const;
    // Announces the unpacking, checks the space and returns the names written, in the archive's
    // order; what `early` unpacked during the download stands when it is the whole archive.
    std::vector<std::string> unpack(const std::filesystem::path& archive,
                                    const std::filesystem::path& unpacked,
                                    EarlyUnpack* early = nullptr) const;
    std::int64_t place(const std::filesystem::path& unpacked, const std::vector<std::string>& written) const;
    static std::filesystem::path voiceFolder(const std::filesystem::path& unpacked,
                                             const std::vector<std::string>& written);
    std::filesystem::path target() const;

    EnhancedVoice voice_;
    Progress progress_;
    Unpacking unpacking_;
    std::stop_token stop_;
};

}  // namespace velmora
