#include "enhanced/VoiceInstaller.h"

#include <algorithm>
#include <limits>

#include "enhanced/DownloadJob.h"
#include "enhanced/InstallFailure.h"
#include "enhanced/LocalArchive.h"
#include "enhanced/PackReplacement.h"
#include "enhanced/PartialDownload.h"
#include "enhanced/Sha1.h"
#include "enhanced/StagingFolder.h"
#include "enhanced/TransferFailure.h"
#include "store/VoiceStore.h"
#include "zip/EarlyUnpack.h"
#include "zip/MappedFile.h"
#include "zip/ZipReader.h"

namespace velmora {
namespace fs = std::filesystem;
namespace {

struct DiscardOnExit {
    PartialDownload& partial;
    ~DiscardOnExit() { partial.discard(); }
};

}  // namespace

VoiceInstaller::VoiceInstaller(EnhancedVoice voice, Progress progress, Unpacking unpacking,
                               std::stop_token stop)
    : voice_(std::move(voice)),
      progress_(std::move(progress)),
      unpacking_(std::move(unpacking)),
      stop_(std::move(stop)) {}

std::int64_t VoiceInstaller::run() {
    const StagingFolder staging = createStaging();
    const fs::path unpacked = staging.path() / unpackedName;
    const std::vector<std::string> written = [&] {
        PartialDownload partial(voice_);
        // Entries are unpacked into the staging folder as they arrive; nothing leaves it before
        // the whole archive's checksum matches.
        std::optional<EarlyUnpack> early;
        if (roomToUnpackEarly(partial, staging.path())) early.emplace(partial.file(), unpacked);
        const std::vector<std::byte> digest = download(partial, early ? &*early : nullptr);
        // The transfer may have finished just as the install was cancelled.
        if (stop_.stop_requested()) throw TransferFailure::cancelled();
        // From here the archive is used or useless: it goes either way.
        const DiscardOnExit discard{partial};
        if (digest != voice_.digest) throw InstallFailure::digestMismatch();
        return unpack(partial.file(), unpacked, early ? &*early : nullptr);
    }();
    return place(unpacked, written);
}

std::int64_t VoiceInstaller::installFrom(const fs::path& archive) {
    const StagingFolder staging = createStaging();
    const fs::path unpacked = staging.path() / unpackedName;
    if (Sha1::ofFile(archive) != voice_.digest) throw ArchiveRefused::mismatch(archive, voice_.id());
    return place(unpacked, unpack(archive, unpacked));
}

StagingFolder VoiceInstaller::createStaging() const {
    const auto root = VoiceStore::root(true);
    if (!root) throw InstallFailure::noContainer();
    return StagingFolder::create(*root);
}

// The voice found in the unpacked tree becomes the pack, and the dictionaries it lacks are added.
std::int64_t VoiceInstaller::place(const fs::path& unpacked, const std::vector<std::string>& written) const {
    const fs::path voiceHome = voiceFolder(unpacked, written);
    const fs::path pack = target();
    fs::create_directories(pack.parent_path());
    replacePack(voiceHome, pack, unpacked.parent_path() / "previous");
    VoiceStore::addDictionaries(voice_.release, voice_.locale);
    return VoiceStore::size(pack);
}

// The archive is hashed as it arrives (after the bytes a cut download left), so the check
// needs no second read of the file.
std::vector<std::byte> VoiceInstaller::download(PartialDownload& partial, EarlyUnpack* early) {
    DownloadJob job(voice_.downloadSize, progress_);
    if (early) job.reportFileLength([early](std::int64_t bytes) { early->arrived(bytes); });
    return job.run(voice_.url, partial, stop_);
}

// Unpacking early needs room for the rest of the download and the unpacked voice at once.
bool VoiceInstaller::roomToUnpackEarly(const PartialDownload& partial, const fs::path& staging) const {
    std::error_code error;
    const auto available = fs::space(staging, error).available;
    const std::int64_t needed = std::max<std::int64_t>(voice_.installedSize, 0) +
                                std::max<std::int64_t>(voice_.downloadSize - partial.length(), 0);
    return !error && available >= static_cast<std::uintmax_t>(needed);
}

std::int64_t VoiceInstaller::neededSpace(std::int64_t installedSize, std::span<const std::byte> archive) {
    std::int64_t recorded = 0;
    for (const auto& entry : ZipReader::entries(archive)) {
        const std::int64_t size = std::max<std::int64_t>(entry.uncompressedSize, 0);
        recorded = size > std::numeric_limits<std::int64_t>::max() - recorded
                       ? std::numeric_limits<std::int64_t>::max()
                       : recorded + size;
    }
    return std::max(installedSize, recorded);
}

std::vector<std::string> VoiceInstaller::unpack(const fs::path& archive, const fs::path& unpacked,
                                                EarlyUnpack* early) const {
    if (unpacking_) unpacking_();
    if (early) {
        if (auto written = early->finish()) return std::move(*written);
    }
    const MappedFile bytes = MappedFile::open(archive);
    const std::int64_t needed = neededSpace(voice_.installedSize, bytes.bytes());
    const auto available = static_cast<std::int64_t>(std::min<std::uintmax_t>(
        fs::space(unpacked.parent_path()).available, std::numeric_limits<std::int64_t>::max()));
    if (needed > available) throw NotEnoughSpace(needed, available);
    return ZipReader::unpack(bytes.bytes(), unpacked);
}

// The folder of the first "broker.hdr.asset" in the archive's own order (that of the names
// written), with the header renamed to the name the extension reads. An existing "broker.hdr"
// beside it is not replaced.
fs::path VoiceInstaller::voiceFolder(const fs::path& unpacked, const std::vector<std::string>& written) {
    for (const auto& name : written) {
        const fs::path header = (unpacked / name).lexically_normal();
        if (header.filename() != assetHeaderName) continue;
        const fs::path folder = header.parent_path();
        renameWithoutReplacing(header, folder / VoiceStore::headerName);
        return folder;
    }
    throw InstallFailure::noVoiceInArchive();
}

fs::path VoiceInstaller::target() const {
    auto pack = VoiceStore::directory(voice_.release, voice_.locale);
    if (!pack) throw InstallFailure::noContainer();
    return *pack;
}

}  // namespace velmora
