#include "PipeWriter.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>

namespace velmora::provider {

bool PipeWriter::waitUntilWritable() {
    pollfd target{fd_, POLLOUT, 0};
    for (;;) {
        const int ready = ::poll(&target, 1, static_cast<int>(stallLimit.count()));
        if (ready > 0) return (target.revents & (POLLERR | POLLNVAL)) == 0;
        if (ready == 0 || errno != EINTR) return false;
    }
}

bool PipeWriter::write(std::span<const std::byte> bytes) {
    while (!broken_ && !bytes.empty()) {
        const ssize_t written = ::write(fd_, bytes.data(), bytes.size());
        if (written > 0) {
            bytes = bytes.subspan(static_cast<std::size_t>(written));
        } else if (written < 0 && errno == EINTR) {
            continue;
        } else if (written < 0 && errno == EAGAIN) {
            broken_ = !waitUntilWritable();
        } else {
            broken_ = true;  // EPIPE: the client closed its end; anything else: no way to go on
        }
    }
    return !broken_;
}

}  // namespace velmora::provider
