// Setting a pack aside and putting it back, and repairing what a run killed on the way left.
#include <sys/stat.h>

#include "selftest/EnhancedSelfTest.h"
#include "store/VoiceStore.h"

namespace velmora {
namespace fs = std::filesystem;
namespace {

// What the store writes headers with; a header with no permissions at all was made unreadable by
// a run that did not live to undo it.
constexpr mode_t headerMode = 0644;

fs::path asidePath(const fs::path& item) { return item.string() + "." + EnhancedSelfTest::asideExtension; }

void recoverReleaseFolder(const fs::path& releaseFolder) {
    std::error_code error;
    for (fs::directory_iterator it(releaseFolder, error), end; !error && it != end; it.increment(error)) {
        const fs::path& entry = it->path();
        if (entry.extension() != std::string(".") + EnhancedSelfTest::asideExtension) continue;
        fs::path pack = entry;
        pack.replace_extension();
        std::error_code ignored;
        if (!fs::exists(fs::symlink_status(pack, ignored))) fs::rename(entry, pack, ignored);
    }
    for (fs::directory_iterator it(releaseFolder, error), end; !error && it != end; it.increment(error)) {
        const fs::path header = it->path() / VoiceStore::headerName;
        struct stat info {};
        if (::lstat(header.c_str(), &info) == 0 && S_ISREG(info.st_mode) && (info.st_mode & 07777) == 0) {
            ::chmod(header.c_str(), headerMode);
        }
    }
}

}  // namespace

std::optional<fs::path> EnhancedSelfTest::hide(const fs::path& item) {
    const fs::path aside = asidePath(item);
    std::error_code error;
    fs::remove_all(aside, error);
    fs::rename(item, aside, error);
    if (error) return std::nullopt;
    return aside;
}

void EnhancedSelfTest::restore(const fs::path& aside, const fs::path& item) {
    std::error_code ignored;
    fs::remove_all(item, ignored);
    fs::rename(aside, item, ignored);
}

void EnhancedSelfTest::recoverInterruptedRun() {
    const auto voices = VoiceStore::root(false);
    if (!voices) return;
    for (const auto& release : VoiceRelease::all()) recoverReleaseFolder(*voices / release.name);
}

}  // namespace velmora
