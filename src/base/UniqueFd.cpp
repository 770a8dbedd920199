#include "base/UniqueFd.h"

#include <unistd.h>

#include <utility>

namespace velmora {

UniqueFd& UniqueFd::operator=(UniqueFd&& other) noexcept {
    if (this != &other) {
        reset();
        fd_ = other.release();
    }
    return *this;
}

int UniqueFd::release() { return std::exchange(fd_, -1); }

void UniqueFd::reset() {
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
}

}  // namespace velmora
