#include "enhanced/DownloadJob.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "enhanced/EnhancedVoiceCatalog.h"
#include "enhanced/PartialDownload.h"
#include "enhanced/WebPageAnswer.h"

namespace velmora {

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
void DownloadJob::begin(PartialDownload& target, const HttpTransfer::Head& head, bool resuming) {
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

void DownloadJob::receive(PartialDownload& target, std::span<const std::byte> piece,
                          const HttpTransfer::Head& head, bool resuming) {
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
long DownloadJob::attempt(const std::string& url, PartialDownload& target, bool resuming,
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

void DownloadJob::transfer(const std::string& url, PartialDownload& target, const std::stop_token& stop) {
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

std::vector<std::byte> DownloadJob::run(const std::string& url, PartialDownload& partial,
                                        std::stop_token stop) {
    transfer(url, partial, stop);
    if (progress_) progress_(1.0);
    return hash_->finish();
}

}  // namespace velmora
