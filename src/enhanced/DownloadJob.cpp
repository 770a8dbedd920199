#include "enhanced/DownloadJob.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "base/FileError.h"
#include "base/UniqueFd.h"
#include "enhanced/EnhancedVoiceCatalog.h"
#include "enhanced/HttpTransfer.h"

namespace velmora {
namespace fs = std::filesystem;
namespace {

// The partial file of a running download: open for writing, removed unless it was moved into place.
class PartialFile {
public:
    explicit PartialFile(fs::path path)
        : path_(std::move(path)), fd_(::open(path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644)) {
        if (fd_.get() < 0) throwFileError("cannot create the download file", path_, errno);
    }
    ~PartialFile() {
        fd_.reset();
        std::error_code ignored;
        if (!placed_) fs::remove(path_, ignored);
    }
    PartialFile(const PartialFile&) = delete;
    PartialFile& operator=(const PartialFile&) = delete;

    void write(std::span<const std::byte> piece) {
        while (!piece.empty()) {
            const ssize_t done = ::write(fd_.get(), piece.data(), piece.size());
            if (done < 0 && errno == EINTR) continue;
            if (done < 0) throwFileError("cannot write the download file", path_, errno);
            piece = piece.subspan(static_cast<std::size_t>(done));
        }
    }

    // Closes the file and puts it at `destination`, replacing whatever is there.
    void place(const fs::path& destination) {
        if (::close(fd_.release()) != 0) throwFileError("cannot write the download file", path_, errno);
        std::error_code ignored;
        fs::remove_all(destination, ignored);
        fs::rename(path_, destination);
        placed_ = true;
    }

private:
    fs::path path_;
    UniqueFd fd_;
    bool placed_ = false;
};

}  // namespace

DownloadJob::DownloadJob(std::int64_t expected, Progress progress)
    : expected_(expected), progress_(std::move(progress)) {}

double DownloadJob::fraction(std::int64_t written, std::int64_t announced, std::int64_t expected) {
    const std::int64_t divisor = announced >= 1 ? announced : expected;
    if (divisor < 1) return -1;
    return std::min(static_cast<double>(written) / static_cast<double>(divisor), 1.0);
}

void DownloadJob::receive(std::span<const std::byte> piece, std::int64_t announced) {
    written_ += static_cast<std::int64_t>(piece.size());
    if (observer_) observer_(piece);
    const double done = fraction(written_, announced, expected_);
    if (done >= 0 && progress_) progress_(done);
}

void DownloadJob::run(const std::string& url, const fs::path& destination, std::stop_token stop) {
    if (std::exchange(started_, true)) throw std::logic_error("a download job runs once");
    PartialFile partial(fs::path(destination) += ".part");
    HttpTransfer transfer(url);
    const long status = transfer.run(
        [&](std::span<const std::byte> piece, std::int64_t announced) {
            partial.write(piece);
            receive(piece, announced);
        },
        stop);
    if (status != 200) throw EnhancedVoiceCatalog::Failure::badResponse(status);
    partial.place(destination);
    if (progress_) progress_(1.0);
}

}  // namespace velmora
