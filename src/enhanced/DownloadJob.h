#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <span>
#include <stop_token>
#include <string>
#include <vector>

#include "enhanced/BackgroundSha1.h"
#include "enhanced/HttpTransfer.h"

namespace velmora {

class PartialDownload;

// Downloads one archive and reports the fraction done, hashing the bytes (SHA-1) as they arrive
// so the check needs no second read.
class DownloadJob {
public:
    using Progress = std::function<void(double fraction)>;

    using FileLength = std::function<void(std::int64_t bytes)>;

    // `expected` is the catalog's size of the archive, used when the server announces none.
    DownloadJob(std::int64_t expected, Progress progress);
    ~DownloadJob();

    // Hears the length of the file after every write, and 0 just before the file is emptied to
    // start over, so that a reader of the growing file can stop first.
    void reportFileLength(FileLength fileLength) { fileLength_ = std::move(fileLength); }

    // Downloads to a partial file beside `destination` that appears there only when the whole
    // body of a 200 answer has arrived, after a last progress(1.0); the partial file is removed
    // on every failure. Throws EnhancedVoiceCatalog::Failure::badResponse for any status but 200,
    // WebPageAnswer for a web page, TransferFailure when the transfer fails or `stop` is
    // requested, and filesystem_error when the file cannot be written. Called once per job.
    void run(const std::string& url, const std::filesystem::path& destination, std::stop_token stop = {});

    // The same into a partial download that outlives a failure: bytes it already holds are asked
    // for no more (a Range request guarded by If-Range) when the server answers 206 from where
    // they end; any other answer starts over. Progress counts the bytes held. Returns the SHA-1 of
    // the whole file.
    std::vector<std::byte> run(const std::string& url, PartialDownload& partial, std::stop_token stop = {});

private:
    // The answer of a resumed request cannot extend the bytes held.
    struct ResumeRefused {};

    template <class Target>
    void transfer(const std::string& url, Target& target, const std::stop_token& stop);
    template <class Target>
    long attempt(const std::string& url, Target& target, bool resuming, const std::stop_token& stop);
    template <class Target>
    void begin(Target& target, const HttpTransfer::Head& head, bool resuming);
    template <class Target>
    void receive(Target& target, std::span<const std::byte> piece, const HttpTransfer::Head& head,
                 bool resuming);
    bool sniffWebPage(std::span<const std::byte> piece, const HttpTransfer::Head& head);

    // The fraction to report after `written` bytes, or a negative value when none can be told:
    // the announced length when there is one, else `expected`, never above 1.
    static double fraction(std::int64_t written, std::int64_t announced, std::int64_t expected);

    std::int64_t expected_;
    Progress progress_;
    FileLength fileLength_;
    std::optional<BackgroundSha1> hash_;  // hashes on its own thread while the bytes arrive
    std::int64_t written_ = 0;
    std::int64_t total_ = -1;
    bool began_ = false;
    bool started_ = false;
    std::optional<std::vector<std::byte>> webPage_;  // the start of a web page that came back
    std::string webPageType_;
};

}  // namespace velmora
