#include "enhanced/StagingFolder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#include <uuid/uuid.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "store/VoiceStore.h"

namespace velmora {
namespace fs = std::filesystem;
namespace {

int openFolder(const fs::path& folder) {
    return ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

// The lock on .staging itself, held while a folder is made and locked and while abandoned
// folders are swept, so that a sweep never finds a new folder before its install locks it.
class SweepLock {
public:
    explicit SweepLock(const fs::path& stagingRoot) : fd_(openFolder(stagingRoot)) {
        if (fd_ < 0)
            throw fs::filesystem_error("cannot open", stagingRoot,
                                       std::error_code(errno, std::generic_category()));
        while (::flock(fd_, LOCK_EX) != 0 && errno == EINTR) {
        }
    }
    ~SweepLock() { ::close(fd_); }
    SweepLock(const SweepLock&) = delete;
    SweepLock& operator=(const SweepLock&) = delete;

private:
    int fd_;
};

bool isUuidName(const std::string& name) {
    if (name.size() != 36) return false;
    for (std::size_t i = 0; i < name.size(); ++i) {
        const bool dash = i == 8 || i == 13 || i == 18 || i == 23;
        const char c = name[i];
        if (dash ? c != '-' : !((c >= '0' && c <= '9') || (c >= 'A' && c <= 'F'))) return false;
    }
    return true;
}

void removeIfAbandoned(const fs::path& folder) {
    const int fd = openFolder(folder);
    if (fd < 0) return;
    if (::flock(fd, LOCK_EX | LOCK_NB) == 0) {
        std::error_code ignored;
        fs::remove_all(folder, ignored);
    }
    ::close(fd);
}

}  // namespace

std::string StagingFolder::newUuid() {
    uuid_t value;
    uuid_generate_random(value);
    char text[37];
    uuid_unparse_upper(value, text);
    return text;
}

void StagingFolder::removeAbandoned(const fs::path& stagingRoot) {
    std::error_code error;
    for (fs::directory_iterator it(stagingRoot, error), end; !error && it != end; it.increment(error)) {
        if (isUuidName(it->path().filename().string())) removeIfAbandoned(it->path());
    }
}

StagingFolder StagingFolder::create(const fs::path& voiceRoot) {
    const fs::path stagingRoot = voiceRoot / VoiceStore::stagingName;
    fs::create_directories(stagingRoot);
    const SweepLock sweep(stagingRoot);
    removeAbandoned(stagingRoot);
    const fs::path folder = stagingRoot / newUuid();
    fs::create_directory(folder);
    const int lock = openFolder(folder);
    if (lock < 0 || ::flock(lock, LOCK_EX | LOCK_NB) != 0) {
        const std::error_code error(errno, std::generic_category());
        if (lock >= 0) ::close(lock);
        std::error_code ignored;
        fs::remove(folder, ignored);
        throw fs::filesystem_error("cannot lock the staging folder", folder, error);
    }
    return StagingFolder(folder, lock);
}

StagingFolder::StagingFolder(StagingFolder&& other) noexcept
    : path_(std::move(other.path_)), lock_(std::exchange(other.lock_, -1)) {}

StagingFolder::~StagingFolder() {
    if (lock_ < 0) return;
    std::error_code ignored;
    fs::remove_all(path_, ignored);
    ::close(lock_);
}

}  // namespace velmora
