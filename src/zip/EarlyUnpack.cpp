#include "zip/EarlyUnpack.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "base/FileError.h"
#include "zip/ByteCursor.h"
#include "zip/EntryName.h"
#include "zip/EntryWriter.h"
#include "zip/MappedFile.h"
#include "zip/Utf8.h"
#include "zip/ZipFormat.h"

namespace velmora {
namespace {

namespace format = zip::format;

std::vector<std::byte> readAt(int fd, std::uint64_t offset, std::size_t count,
                              const std::filesystem::path& path) {
    std::vector<std::byte> bytes(count);
    std::size_t done = 0;
    while (done < count) {
        const ssize_t got = ::pread(fd, bytes.data() + done, count - done, static_cast<off_t>(offset + done));
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) throwFileError("cannot read archive", path, got < 0 ? errno : EIO);
        done += static_cast<std::size_t>(got);
    }
    return bytes;
}

}  // namespace

EarlyUnpack::EarlyUnpack(std::filesystem::path archive, std::filesystem::path into)
    : archive_(std::move(archive)),
      into_(std::move(into)),
      fd_(::open(archive_.c_str(), O_RDONLY | O_CLOEXEC)),
      tree_(into_) {
    if (fd_.get() < 0) throwFileError("cannot open archive", archive_, errno);
}

EarlyUnpack::~EarlyUnpack() {
    {
        const std::lock_guard lock(mutex_);
        failed_ = true;
    }
    stopWriters();
}

void EarlyUnpack::arrived(std::int64_t length) {
    if (stopped_) return;
    const auto bytes = static_cast<std::uint64_t>(std::max<std::int64_t>(length, 0));
    try {
        if (bytes < arrived_) throw Stop{};
        arrived_ = bytes;
        while (!listed_) {
            const auto found = entryAt(next_, arrived_);
            if (!found) return;
            const auto& [entry, bodyStart] = *found;
            take(entry, bodyStart);
            next_ = bodyStart + static_cast<std::uint64_t>(entry.compressedSize);
        }
    } catch (const std::exception&) {
        // A folder or file that cannot be created, or a read that fails: the usual unpack will
        // meet it again and say so.
        stopped_ = true;
    } catch (const Stop&) {
        stopped_ = true;
    }
    if (!stopped_) return;
    {
        const std::lock_guard lock(mutex_);
        failed_ = true;
    }
    stopWriters();
}

std::optional<std::pair<ZipReader::Entry, std::uint64_t>> EarlyUnpack::entryAt(std::uint64_t offset,
                                                                               std::uint64_t length) {
    if (length < offset + 4) return std::nullopt;
    const auto signature = readAt(fd_.get(), offset, 4, archive_);
    if (zip::ByteCursor(signature, 0, ZipReader::Failure::notAZip()).u32() != format::localSignature) {
        listed_ = true;
        return std::nullopt;
    }
    if (length < offset + format::localSize) return std::nullopt;
    const auto header = readAt(fd_.get(), offset, format::localSize, archive_);
    zip::ByteCursor fields(header, format::localFlagsOffset, ZipReader::Failure::notAZip());
    const std::uint16_t flags = fields.u16();
    ZipReader::Entry entry;
    entry.method = fields.u16();
    fields.skip(4);  // time, date
    entry.crc32 = fields.u32();
    const std::uint32_t compressedSize = fields.u32();
    const std::uint32_t uncompressedSize = fields.u32();
    const std::uint16_t nameLength = fields.u16();
    const std::uint16_t extraLength = fields.u16();
    if ((flags & (format::encryptionFlags | format::dataDescriptorFlag)) != 0 ||
        compressedSize == format::zip64Marker || uncompressedSize == format::zip64Marker ||
        (entry.method != format::stored && entry.method != format::deflated)) {
        throw Stop{};
    }
    const std::uint64_t bodyStart = offset + format::localSize + nameLength + extraLength;
    if (length < bodyStart + compressedSize) return std::nullopt;
    entry.name = zip::decodeUtf8Lossy(readAt(fd_.get(), offset + format::localSize, nameLength, archive_));
    if (!zip::isSafeEntryName(entry.name)) throw Stop{};
    entry.compressedSize = compressedSize;
    entry.uncompressedSize = uncompressedSize;
    entry.localHeaderOffset = static_cast<std::int64_t>(offset);
    return std::pair{std::move(entry), bodyStart};
}

// Directory entries create nothing, as in ZipReader::unpack; files are created here, in archive
// order, and written by the next free writer.
void EarlyUnpack::take(const ZipReader::Entry& entry, std::uint64_t bodyStart) {
    entries_.push_back(entry);
    if (entry.name.ends_with('/')) return;
    if (!files_.insert(zip::fileKey(entry.name)).second) throw Stop{};
    const auto parent = tree_.makeParentOf(entry.name);
    Job job{entry, bodyStart, tree_.createFile(parent, entry.name)};
    // The writers start with the first file.
    while (writers_.size() < zip::writerThreads()) writers_.emplace_back([this] { write(); });
    {
        const std::lock_guard lock(mutex_);
        jobs_.push_back(std::move(job));
    }
    wake_.notify_one();
}

void EarlyUnpack::write() {
    std::unique_lock lock(mutex_);
    for (;;) {
        wake_.wait(lock, [&] { return closed_ || !jobs_.empty(); });
        if (jobs_.empty()) return;
        Job job = std::move(jobs_.front());
        jobs_.pop_front();
        if (failed_) continue;
        lock.unlock();
        bool written = true;
        try {
            const auto body = MappedFile::openRange(
                fd_.get(), job.bodyStart, static_cast<std::size_t>(job.entry.compressedSize), archive_);
            zip::writeEntryBody(job.entry, body.bytes(), job.file);
        } catch (const std::exception&) {
            written = false;
        }
        lock.lock();
        if (!written) failed_ = true;
    }
}

void EarlyUnpack::stopWriters() {
    {
        const std::lock_guard lock(mutex_);
        closed_ = true;
    }
    wake_.notify_all();
    writers_.clear();
}

std::optional<std::vector<std::string>> EarlyUnpack::finish(std::span<const std::byte> archive) {
    arrived(static_cast<std::int64_t>(archive.size()));
    stopWriters();
    const bool complete = !failed_ && [&] {
        try {
            return ZipReader::entries(archive) == entries_;
        } catch (const ZipReader::Failure&) {
            return false;
        }
    }();
    if (!complete) {
        // The usual unpack starts from an empty folder.
        std::filesystem::remove_all(into_);
        return std::nullopt;
    }
    std::vector<std::string> names;
    for (const auto& entry : entries_) {
        if (!entry.name.ends_with('/')) names.push_back(entry.name);
    }
    return names;
}

}  // namespace velmora
