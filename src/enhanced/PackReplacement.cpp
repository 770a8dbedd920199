#include "enhanced/PackReplacement.h"

#include <fcntl.h>
#include <stdio.h>

#include <cerrno>
#include <system_error>

namespace velmora {
namespace fs = std::filesystem;
namespace {

std::error_code lastError() { return {errno, std::generic_category()}; }

bool isPresent(const fs::path& path) {
    std::error_code ignored;
    return fs::exists(fs::symlink_status(path, ignored));
}

// Old pack to `aside`, new pack in, old pack back on failure.
void replacePackByMovingAside(const fs::path& replacement, const fs::path& target, const fs::path& aside) {
    fs::rename(target, aside);
    std::error_code error;
    fs::rename(replacement, target, error);
    if (!error) return;
    std::error_code ignored;
    fs::rename(aside, target, ignored);
    throw fs::filesystem_error("cannot move the voice into place", replacement, target, error);
}

}  // namespace

void renameWithoutReplacing(const fs::path& from, const fs::path& to) {
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return;
    std::error_code error = lastError();
    // EINVAL: the file system cannot refuse to replace by itself; look first instead.
    if (error == std::errc::invalid_argument) {
        if (!isPresent(to)) {
            fs::rename(from, to);
            return;
        }
        error = std::make_error_code(std::errc::file_exists);
    }
    throw fs::filesystem_error("cannot rename", from, to, error);
}

void replacePack(const fs::path& replacement, const fs::path& target, const fs::path& aside) {
    if (!isPresent(target)) {
        renameWithoutReplacing(replacement, target);
        return;
    }
    if (::renameat2(AT_FDCWD, replacement.c_str(), AT_FDCWD, target.c_str(), RENAME_EXCHANGE) == 0) return;
    const std::error_code error = lastError();
    // EINVAL: the file system has no exchange (some network and overlay file systems).
    if (error != std::errc::invalid_argument && error != std::errc::function_not_supported) {
        throw fs::filesystem_error("cannot move the voice into place", replacement, target, error);
    }
    replacePackByMovingAside(replacement, target, aside);
}

}  // namespace velmora
