#include "cli/InterruptWatch.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <system_error>

namespace velmora::cli {

InterruptWatch::InterruptWatch() {
    sigset_t signals{};
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, &previous_);
    signalFd_ = UniqueFd(::signalfd(-1, &signals, SFD_CLOEXEC));
    wakeFd_ = UniqueFd(::eventfd(0, EFD_CLOEXEC));
    if (signalFd_.get() < 0 || wakeFd_.get() < 0) {
        const int error = errno;
        pthread_sigmask(SIG_SETMASK, &previous_, nullptr);
        throw std::system_error(error, std::generic_category(), "cannot watch for Ctrl-C");
    }
    watcher_ = std::jthread([this] { watch(); });
}

InterruptWatch::~InterruptWatch() {
    const std::uint64_t one = 1;
    while (::write(wakeFd_.get(), &one, sizeof one) < 0 && errno == EINTR) {
    }
    watcher_.join();
    pthread_sigmask(SIG_SETMASK, &previous_, nullptr);
}

void InterruptWatch::watch() {
    std::array<pollfd, 2> ready{{{signalFd_.get(), POLLIN, 0}, {wakeFd_.get(), POLLIN, 0}}};
    while (::poll(ready.data(), ready.size(), -1) < 0 && errno == EINTR) {
    }
    if ((ready[0].revents & POLLIN) == 0) return;
    // Read, so that the signal is not delivered again once the watch unblocks it.
    signalfd_siginfo received{};
    if (::read(signalFd_.get(), &received, sizeof received) > 0) interrupted_.request_stop();
}

}  // namespace velmora::cli
