#include "base/ReadFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "base/UniqueFd.h"

namespace velmora {
namespace {

constexpr std::size_t chunkSize = 65'536;

// Reads from `fd` until end of file or until more than `maxBytes` have come; absent on an error.
std::optional<std::string> readUpTo(int fd, std::size_t maxBytes) {
    std::string bytes;
    for (;;) {
        const std::size_t room =
            maxBytes == SIZE_MAX ? chunkSize : std::min(chunkSize, maxBytes - bytes.size() + 1);
        const std::size_t used = bytes.size();
        bytes.resize(used + room);
        const ssize_t got = ::read(fd, bytes.data() + used, room);
        if (got < 0 && errno == EINTR) {
            bytes.resize(used);
            continue;
        }
        if (got < 0) return std::nullopt;
        bytes.resize(used + static_cast<std::size_t>(got));
        if (got == 0 || bytes.size() > maxBytes) return bytes;
    }
}

std::optional<std::string> readOpened(const std::filesystem::path& file, std::size_t maxBytes) {
    const UniqueFd fd(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
    if (fd.get() < 0) return std::nullopt;
    return readUpTo(fd.get(), maxBytes);
}

}  // namespace

std::optional<std::string> readWholeFile(const std::filesystem::path& file, std::size_t maxBytes) {
    auto bytes = readOpened(file, maxBytes);
    if (bytes && bytes->size() > maxBytes) return std::nullopt;
    return bytes;
}

std::optional<std::string> readFileStart(const std::filesystem::path& file, std::size_t count) {
    auto bytes = readOpened(file, count);
    if (bytes && bytes->size() > count) bytes->resize(count);
    return bytes;
}

}  // namespace velmora
