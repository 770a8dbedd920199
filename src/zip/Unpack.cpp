#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <set>
#include <thread>

#include "zip/DestinationTree.h"
#include "zip/EntryName.h"
#include "zip/EntryWriter.h"
#include "zip/ZipFormat.h"
#include "zip/ZipReader.h"

namespace velmora {
namespace {

// The failure of the earliest entry in archive order, whichever writer met it first, so that a
// damaged archive fails with the same message however the entries were shared out.
class FirstFailure {
public:
    void record(std::size_t index, std::exception_ptr error) {
        const std::lock_guard lock(mutex_);
        if (index >= index_) return;
        index_ = index;
        error_ = std::move(error);
    }
    // Entries at or past this index need not be written.
    std::size_t index() const {
        const std::lock_guard lock(mutex_);
        return index_;
    }
    std::exception_ptr error() const { return error_; }

private:
    mutable std::mutex mutex_;
    std::size_t index_ = SIZE_MAX;
    std::exception_ptr error_;
};

bool namesOneFileTwice(const std::vector<ZipReader::Entry>& list) {
    std::set<std::string> files;
    for (const auto& entry : list) {
        if (!entry.name.ends_with('/') && !files.insert(zip::fileKey(entry.name)).second) return true;
    }
    return false;
}

// In archive order, as a sequential unpack would: folders and empty files of every entry up to
// the first that fails, with its header and method checked, so that failures of the file system
// and of headers come from the same entry as they would one at a time.
void createFiles(const std::vector<ZipReader::Entry>& list, std::span<const std::byte> archive,
                 zip::DestinationTree& destination, const std::function<void(const std::string&)>& writing,
                 FirstFailure& failure) {
    for (std::size_t i = 0; i < list.size(); ++i) {
        const auto& entry = list[i];
        // Directory entries create nothing; the files below them create their folders.
        if (entry.name.ends_with('/')) continue;
        try {
            if (writing) writing(entry.name);
            const auto parent = destination.makeParentOf(entry.name);
            ZipReader::body(entry, archive);
            destination.createFile(parent, entry.name);
            if (entry.method != zip::format::stored && entry.method != zip::format::deflated)
                throw ZipReader::Failure::unsupportedCompression(entry.method);
        } catch (...) {
            failure.record(i, std::current_exception());
            return;
        }
    }
}

// Every writer takes the next entry in archive order and writes it whole (one writer per file);
// none starts an entry after the earliest one known to fail.
void writeBodies(const std::vector<ZipReader::Entry>& list, std::span<const std::byte> archive,
                 zip::DestinationTree& destination, unsigned writers, FirstFailure& failure) {
    std::atomic<std::size_t> next{0};
    const auto work = [&] {
        for (std::size_t i = next++; i < list.size() && i < failure.index(); i = next++) {
            const auto& entry = list[i];
            if (entry.name.ends_with('/')) continue;
            try {
                const auto parent = destination.makeParentOf(entry.name);
                auto file = destination.createFile(parent, entry.name);
                zip::writeEntryBody(entry, ZipReader::body(entry, archive), file);
            } catch (...) {
                failure.record(i, std::current_exception());
            }
        }
    };
    std::vector<std::jthread> helpers;
    for (unsigned i = 1; i < writers; ++i) helpers.emplace_back(work);
    work();
}

unsigned writersFor(const std::vector<ZipReader::Entry>& list) {
    // Entries naming one file twice are written in order, the later replacing the earlier.
    if (namesOneFileTwice(list)) return 1;
    const auto files =
        std::ranges::count_if(list, [](const auto& entry) { return !entry.name.ends_with('/'); });
    return static_cast<unsigned>(std::clamp<std::ptrdiff_t>(files, 1, zip::writerThreads()));
}

}  // namespace

std::vector<std::string> ZipReader::unpack(std::span<const std::byte> archive,
                                           const std::filesystem::path& into,
                                           const std::function<void(const std::string& name)>& writing) {
    const auto list = entries(archive);
    // A single hostile name refuses the whole archive before anything is written.
    for (const auto& entry : list) {
        if (!zip::isSafeEntryName(entry.name)) throw Failure::unsafeName(entry.name);
    }
    zip::DestinationTree destination(into);
    FirstFailure failure;
    createFiles(list, archive, destination, writing, failure);
    writeBodies(list, archive, destination, writersFor(list), failure);
    if (const auto error = failure.error()) {
        // The caller last heard the name of the entry that failed.
        if (writing) writing(list[failure.index()].name);
        std::rethrow_exception(error);
    }
    std::vector<std::string> written;
    for (const auto& entry : list) {
        if (!entry.name.ends_with('/')) written.push_back(entry.name);
    }
    return written;
}

}  // namespace velmora
