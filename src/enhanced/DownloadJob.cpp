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
#include "enhanced/PartialDownload.h"
#include "enhanced/WebPageAnswer.h"

namespace velmora {
namespace fs = std::filesystem;
namespace {

// The partial file of a download that cannot resume: removed unless it was moved into place.
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

    const fs::path& file() const { return path_; }
    std::int64_t length() const { return 0; }
    std::string validator() const { return {}; }
    void startOver(const std::string&) {}

    void append(std::span<const std::byte> piece) {
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

DownloadJob::~DownloadJob() = default;

double DownloadJob::fraction(std::int64_t written, std::int64_t announced, std::int64_t expected) {
    const std::int64_t divisor = announced >= 1 ? announced : expected;
    if (divisor < 1) return -1;
    return std::min(static_cast<double>(written) / static_cast<double>(divisor), 1.0);
}

// A web page is not written anywhere: its start is kept to name it once enough has come.
bool DownloadJob::sniffWebPage(std::span<const std::byte> piece, const HttpTransfer::Head& head) {
    if (!began_ && WebPageAnswer::describe(head.contentType, piece)) {
        webPage_.emplace();
        webPageType_ = head.contentType;
    }
    if (!webPage_) return false;
    webPage_->insert(webPage_->end(), piece.begin(), piece.end());
    if (webPage_->size() >= WebPageAnswer::sniffSize)
        throw WebPageAnswer::insteadOfArchive(*WebPageAnswer::describe(webPageType_, *webPage_));
    return true;
}

// The first piece of an answer decides: a 206 that starts where the bytes held end extends
// them (hashed first, so the digest covers the whole file); anything else starts over.
template <class Target>
void DownloadJob::begin(Target& target, const HttpTransfer::Head& head, bool resuming) {
    hash_.emplace();
    if (head.status == 206) {
        if (!resuming || head.rangeStart != target.length()) throw ResumeRefused{};
        hash_->updateFromFile(target.file());
        written_ = target.length();
        total_ = head.rangeTotal >= 0 ? head.rangeTotal : head.announced < 0 ? -1 : written_ + head.announced;
    } else {
        if (fileLength_) fileLength_(0);
        target.startOver(head.validator);
        written_ = 0;
        total_ = head.announced;
    }
    began_ = true;
}

template <class Target>
void DownloadJob::receive(Target& target, std::span<const std::byte> piece, const HttpTransfer::Head& head,
                          bool resuming) {
    if (sniffWebPage(piece, head)) return;
    if (!began_) begin(target, head, resuming);
    target.append(piece);
    hash_->update(piece);
    written_ += static_cast<std::int64_t>(piece.size());
    if (fileLength_) fileLength_(written_);
    const double done = fraction(written_, total_, expected_);
    if (done >= 0 && progress_) progress_(done);
}

// One request; returns the status, or 0 when a resumed answer could not extend the bytes held.
template <class Target>
long DownloadJob::attempt(const std::string& url, Target& target, bool resuming,
                          const std::stop_token& stop) {
    began_ = false;
    webPage_.reset();
    HttpTransfer transfer(url);
    if (resuming) transfer.resumeFrom(target.length(), target.validator());
    try {
        const long status =
            transfer.run([&](std::span<const std::byte> piece,
                             const HttpTransfer::Head& head) { receive(target, piece, head, resuming); },
                         stop);
        return resuming && status == 416 ? 0 : status;
    } catch (const ResumeRefused&) {
        return 0;
    }
}

template <class Target>
void DownloadJob::transfer(const std::string& url, Target& target, const std::stop_token& stop) {
    if (std::exchange(started_, true)) throw std::logic_error("a download job runs once");
    bool resuming = target.length() > 0 && !target.validator().empty();
    long status = attempt(url, target, resuming, stop);
    if (status == 0) {
        resuming = false;
        status = attempt(url, target, resuming, stop);
    }
    if (status != 200 && !(status == 206 && resuming))
        throw EnhancedVoiceCatalog::Failure::badResponse(status);
    if (webPage_) throw WebPageAnswer::insteadOfArchive(*WebPageAnswer::describe(webPageType_, *webPage_));
    // An empty body: nothing began.
    if (!began_) {
        HttpTransfer::Head empty;
        empty.status = 200;
        begin(target, empty, false);
    }
}

void DownloadJob::run(const std::string& url, const fs::path& destination, std::stop_token stop) {
    PartialFile partial(fs::path(destination) += ".part");
    transfer(url, partial, stop);
    partial.place(destination);
    if (progress_) progress_(1.0);
}

std::vector<std::byte> DownloadJob::run(const std::string& url, PartialDownload& partial,
                                        std::stop_token stop) {
    transfer(url, partial, stop);
    if (progress_) progress_(1.0);
    return hash_->finish();
}

}  // namespace velmora
