#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <span>
#include <stop_token>
#include <string>

namespace velmora {

// Downloads one archive to a file and reports the fraction done. The file appears at its
// destination only when the whole body of a 200 answer has arrived; until then the bytes go to
// a partial file beside it, removed on every failure.
class DownloadJob {
public:
    using Progress = std::function<void(double fraction)>;
    using BodyObserver = std::function<void(std::span<const std::byte> piece)>;

    // `expected` is the catalog's size of the archive, used when the server announces none.
    DownloadJob(std::int64_t expected, Progress progress);

    // Sees every byte of the body in order as it is written (the installer hashes it on the way).
    void observeBody(BodyObserver observer) { observer_ = std::move(observer); }

    // Returns once the file is complete at `destination`, after a last progress(1.0). Throws
    // EnhancedVoiceCatalog::Failure::badResponse for any status but 200, TransferFailure when the
    // transfer fails or `stop` is requested, and filesystem_error when the file cannot be written.
    // Called once per job.
    void run(const std::string& url, const std::filesystem::path& destination, std::stop_token stop = {});

private:
    // The fraction to report after `written` bytes, or a negative value when none can be told:
    // the announced length when there is one, else `expected`, never above 1.
    static double fraction(std::int64_t written, std::int64_t announced, std::int64_t expected);
    void receive(std::span<const std::byte> piece, std::int64_t announced);

    std::int64_t expected_;
    Progress progress_;
    BodyObserver observer_;
    std::int64_t written_ = 0;
    bool started_ = false;
};

}  // namespace velmora
