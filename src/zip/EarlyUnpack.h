#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <mutex>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "base/UniqueFd.h"
#include "zip/DestinationTree.h"
#include "zip/OutputFile.h"
#include "zip/ZipReader.h"

namespace velmora {

// Unpacks an archive while it is still arriving: as the file grows, each entry whose local header
// is in goes to one of a few writer threads, which decodes its body as the bytes come, so the
// unpack keeps pace with the download. Only archives that read front to back qualify: sizes in
// each local header, stored or deflated, no encryption, safe names, no file named twice. Anything
// else, a failing write or a file that shrinks (emptied to start over) stops it quietly; `finish`
// then says so and the caller unpacks the whole archive with ZipReader::unpack, whose outcome and
// message alone count.
class EarlyUnpack {
public:
    // `archive` must exist; it is read, never written.
    EarlyUnpack(std::filesystem::path archive, std::filesystem::path into);
    // Stops the writers once their current entries are written.
    ~EarlyUnpack();
    EarlyUnpack(const EarlyUnpack&) = delete;
    EarlyUnpack& operator=(const EarlyUnpack&) = delete;

    // The archive file now holds its first `length` bytes, which never change afterwards.
    // Call with a length below an earlier one before the file is emptied.
    void arrived(std::int64_t length);

    // Once the whole file is in: waits for the writers and returns the names written in archive
    // order, as ZipReader::unpack does, when the archive's central directory lists exactly the
    // entries written; otherwise removes what was written and returns nothing.
    std::optional<std::vector<std::string>> finish();

private:
    struct Job {
        ZipReader::Entry entry;
        std::uint64_t bodyStart;
        zip::OutputFile file;
    };
    // The early unpack has ended before its work was done.
    struct Stop {};

    // The entry whose local header starts at `offset`, and where its body starts, once the header
    // lies within `length`; sets listed_ at anything but a local header. Throws Stop when the
    // archive cannot be read front to back.
    std::optional<std::pair<ZipReader::Entry, std::uint64_t>> entryAt(std::uint64_t offset,
                                                                      std::uint64_t length);
    void take(const ZipReader::Entry& entry, std::uint64_t bodyStart);
    void write();
    // The next piece of a body, read into `buffer` once it has arrived whole (a piece is the
    // buffer's size or the rest of the body); empty at the body's end. Throws Stop when the early
    // unpack ends first.
    std::span<const std::byte> nextPiece(std::uint64_t& position, std::uint64_t end,
                                         std::vector<std::byte>& buffer);
    void giveUp();
    void stopWriters();
    bool directoryListsWhatWasWritten(std::uint64_t size) const;

    std::filesystem::path archive_;
    std::filesystem::path into_;
    UniqueFd fd_;
    zip::DestinationTree tree_;
    std::uint64_t next_ = 0;  // where the next local header starts
    bool listed_ = false;     // the local headers have ended
    bool stopped_ = false;
    std::vector<ZipReader::Entry> entries_;
    std::set<std::string> files_;  // zip::fileKey of every file name taken

    std::mutex mutex_;
    std::condition_variable wake_;  // a job, more bytes, or the end
    std::deque<Job> jobs_;
    std::uint64_t arrived_ = 0;  // the bytes the file holds
    bool closed_ = false;
    bool failed_ = false;
    std::vector<std::jthread> writers_;
};

}  // namespace velmora
