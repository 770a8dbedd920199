#include "PipeWriter.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace velmora::provider {

PipeWriter::PipeWriter(int fd) : fd_(fd) {
    // The client's pipe may come non-blocking; writes here wait for the reader instead.
    const int flags = ::fcntl(fd, F_GETFL);
    if (flags >= 0 && (flags & O_NONBLOCK) != 0) ::fcntl(fd, F_SETFL, flags & ~O_NONBLOCK);
}

bool PipeWriter::write(std::span<const std::byte> bytes) {
    while (!broken_ && !bytes.empty()) {
        const ssize_t written = ::write(fd_, bytes.data(), bytes.size());
        if (written > 0) {
            bytes = bytes.subspan(static_cast<std::size_t>(written));
        } else if (written < 0 && errno == EINTR) {
            continue;
        } else {
            broken_ = true;  // EPIPE: the client closed its end; anything else: no way to go on
        }
    }
    return !broken_;
}

}  // namespace velmora::provider
