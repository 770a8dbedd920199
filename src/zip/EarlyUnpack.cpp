#include "zip/EarlyUnpack.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "base/FileError.h"
#include "zip/ByteCursor.h"
#include "zip/EntryName.h"
#include "zip/EntryWriter.h"
#include "zip/HeaderFields.h"
#include "zip/InflateSteps.h"
#include "zip/Utf8.h"
#include "zip/ZipFormat.h"

namespace velmora {
namespace {

namespace format = zip::format;

// Each writer reads a body in pieces of this size, into a buffer of its own.
constexpr std::size_t pieceSize = 1 << 20;

// The most that is read from the end of the local headers to the end of the file: a central
// directory of 65,535 entries with long names, and the largest comment.
constexpr std::uint64_t largestDirectory = 32 << 20;

// Private zero-filled memory, reserved without being touched; empty when it cannot be had.
struct AnonymousMemory {
    explicit AnonymousMemory(std::size_t size) {
        void* address =
            ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (address != MAP_FAILED) bytes = std::span(static_cast<std::byte*>(address), size);
    }
    ~AnonymousMemory() {
        if (!bytes.empty()) ::munmap(bytes.data(), bytes.size());
    }
    AnonymousMemory(const AnonymousMemory&) = delete;
    AnonymousMemory& operator=(const AnonymousMemory&) = delete;

    std::span<std::byte> bytes;
};

void readAt(int fd, std::uint64_t offset, std::span<std::byte> into, const std::filesystem::path& path) {
    std::size_t done = 0;
    while (done < into.size()) {
        const ssize_t got =
            ::pread(fd, into.data() + done, into.size() - done, static_cast<off_t>(offset + done));
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) throwFileError("cannot read archive", path, got < 0 ? errno : EIO);
        done += static_cast<std::size_t>(got);
    }
}

std::vector<std::byte> readAt(int fd, std::uint64_t offset, std::size_t count,
                              const std::filesystem::path& path) {
    std::vector<std::byte> bytes(count);
    readAt(fd, offset, bytes, path);
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
        {
            const std::lock_guard lock(mutex_);
            if (bytes < arrived_) throw Stop{};
            arrived_ = bytes;
        }
        wake_.notify_all();
        while (!listed_) {
            const auto found = entryAt(next_, bytes);
            if (!found) return;
            const auto& [entry, bodyStart] = *found;
            take(entry, bodyStart);
            next_ = bodyStart + static_cast<std::uint64_t>(entry.compressedSize);
        }
    } catch (const std::exception&) {
        // A folder or file that cannot be created, or a read that fails: the usual unpack will
        // meet it again and say so.
        giveUp();
    } catch (const Stop&) {
        giveUp();
    }
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
    zip::ByteCursor cursor(header, format::localFlagsOffset, ZipReader::Failure::notAZip());
    const zip::HeaderFields fields = zip::readHeaderFields(cursor);
    if ((fields.flags & (format::encryptionFlags | format::dataDescriptorFlag)) != 0 ||
        fields.compressedSize == format::zip64Marker || fields.uncompressedSize == format::zip64Marker ||
        (fields.method != format::stored && fields.method != format::deflated)) {
        throw Stop{};
    }
    const std::uint64_t bodyStart = offset + format::localSize + fields.nameLength + fields.extraLength;
    if (length < bodyStart) return std::nullopt;
    auto name =
        zip::decodeUtf8Lossy(readAt(fd_.get(), offset + format::localSize, fields.nameLength, archive_));
    if (!zip::isSafeEntryName(name)) throw Stop{};
    auto entry = zip::entryOf(fields, std::move(name), static_cast<std::int64_t>(offset));
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
    wake_.notify_all();
}

void EarlyUnpack::write() {
    std::vector<std::byte> buffer(pieceSize);
    std::unique_lock lock(mutex_);
    for (;;) {
        wake_.wait(lock, [&] { return closed_ || failed_ || !jobs_.empty(); });
        if (failed_ || jobs_.empty()) return;
        Job job = std::move(jobs_.front());
        jobs_.pop_front();
        lock.unlock();
        bool written = true;
        try {
            std::uint64_t position = job.bodyStart;
            const std::uint64_t end = job.bodyStart + static_cast<std::uint64_t>(job.entry.compressedSize);
            zip::InputFeed body([&] { return nextPiece(position, end, buffer); });
            zip::writeArrivingEntryBody(job.entry, body, job.file);
        } catch (const std::exception&) {
            written = false;
        } catch (const Stop&) {
            written = false;
        }
        lock.lock();
        if (!written) failed_ = true;
    }
}

std::span<const std::byte> EarlyUnpack::nextPiece(std::uint64_t& position, std::uint64_t end,
                                                  std::vector<std::byte>& buffer) {
    const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(buffer.size(), end - position));
    if (size == 0) return {};
    {
        std::unique_lock lock(mutex_);
        // Once the writers are told to stop, no more bytes will come.
        wake_.wait(lock, [&] { return failed_ || closed_ || arrived_ >= position + size; });
        if (failed_ || arrived_ < position + size) throw Stop{};
    }
    const std::span piece(buffer.data(), size);
    readAt(fd_.get(), position, piece, archive_);
    position += size;
    return piece;
}

void EarlyUnpack::giveUp() {
    stopped_ = true;
    {
        const std::lock_guard lock(mutex_);
        failed_ = true;
    }
    stopWriters();
}

void EarlyUnpack::stopWriters() {
    {
        const std::lock_guard lock(mutex_);
        closed_ = true;
    }
    wake_.notify_all();
    writers_.clear();
}

// The archive as ZipReader::entries reads it, without mapping the file: zero-filled memory of the
// archive's size, whose untouched pages cost nothing, holding the first local header and every
// byte from the end of the local headers on. An end record that points anywhere else finds zeros
// there and fails, which only sends the archive to the whole unpack. Unmapping a whole file the
// size of a voice takes a good part of a second on some machines; this takes none.
bool EarlyUnpack::directoryListsWhatWasWritten(std::uint64_t size) const {
    if (!listed_ || size == 0 || next_ > size || size - next_ > largestDirectory) return false;
    const AnonymousMemory memory(size);
    if (memory.bytes.empty()) return false;
    try {
        readAt(fd_.get(), 0, memory.bytes.first(std::min<std::uint64_t>(size, format::localSize)), archive_);
        readAt(fd_.get(), next_, memory.bytes.subspan(next_), archive_);
        return ZipReader::entries(memory.bytes) == entries_;
    } catch (const std::exception&) {
        return false;
    }
}

std::optional<std::vector<std::string>> EarlyUnpack::finish() {
    struct stat status {};
    const bool sized = ::fstat(fd_.get(), &status) == 0;
    const auto size = static_cast<std::uint64_t>(sized ? status.st_size : 0);
    arrived(static_cast<std::int64_t>(size));
    stopWriters();
    if (failed_ || !sized || !directoryListsWhatWasWritten(size)) {
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
