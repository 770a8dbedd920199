#include "speech/PipeReader.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <optional>

namespace velmora {

PipeReader::PipeReader(UniqueFd readEnd, std::stop_token stop, std::chrono::milliseconds stallTimeout)
    : readEnd_(std::move(readEnd)),
      wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      stop_(std::move(stop)),
      stallTimeout_(stallTimeout) {}

PipeReader::~PipeReader() = default;

PipeReader::Event PipeReader::read(std::span<std::byte> buffer, std::size_t& count) {
    count = 0;
    const int wakeFd = wake_.get();
    // Wakes the poll below from whichever thread requests the stop.
    std::stop_callback onStop(stop_, [wakeFd] {
        const std::uint64_t one = 1;
        if (wakeFd >= 0) [[maybe_unused]]
            auto written = ::write(wakeFd, &one, sizeof one);
    });
    while (true) {
        if (stop_.stop_requested()) return Event::stopped;
        pollfd fds[2] = {{readEnd_.get(), POLLIN, 0}, {wakeFd, POLLIN, 0}};
        const int ready = ::poll(fds, wakeFd >= 0 ? 2 : 1, static_cast<int>(stallTimeout_.count()));
        if (ready < 0 && errno == EINTR) continue;
        if (ready < 0) return Event::failed;
        if (ready == 0) return Event::stalled;
        if (stop_.stop_requested()) return Event::stopped;
        const ssize_t got = ::read(readEnd_.get(), buffer.data(), buffer.size());
        if (got < 0 && (errno == EINTR || errno == EAGAIN)) continue;
        if (got < 0) return Event::failed;
        if (got == 0) return Event::endOfFile;
        count = static_cast<std::size_t>(got);
        return Event::data;
    }
}

}  // namespace velmora
