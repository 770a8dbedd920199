#include "zip/OutputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "base/FileError.h"

namespace velmora::zip {

OutputFile OutputFile::create(int directoryFd, const std::string& name,
                              const std::filesystem::path& shownPath) {
    // No O_TRUNC yet: the file is emptied only once it is known to be a regular file. O_NONBLOCK
    // keeps a FIFO placed there from blocking the open.
    const int flags = O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    UniqueFd file(::openat(directoryFd, name.c_str(), flags, 0666));
    if (file.get() < 0) throwFileError("cannot create file", shownPath, errno);
    struct stat status {};
    if (::fstat(file.get(), &status) != 0) throwFileError("cannot create file", shownPath, errno);
    if (!S_ISREG(status.st_mode)) throwFileError("cannot replace a special file", shownPath, EEXIST);
    // Only an existing file is truncated: ext4 flushes a file to disk on close once it has been
    // truncated, which would make every fresh file of an unpack wait for the disk.
    if (status.st_size != 0 && ::ftruncate(file.get(), 0) != 0)
        throwFileError("cannot empty file", shownPath, errno);
    return OutputFile(std::move(file), shownPath);
}

void OutputFile::write(std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor_.get(), bytes.data(), bytes.size());
        if (written < 0) {
            if (errno == EINTR) continue;
            throwFileError("cannot write file", shownPath_, errno);
        }
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
}

void OutputFile::restart() {
    const off_t position = ::lseek(descriptor_.get(), 0, SEEK_CUR);
    if (position == 0) return;  // nothing written yet: spare ext4 the flush a truncation brings
    if (::ftruncate(descriptor_.get(), 0) != 0) throwFileError("cannot empty file", shownPath_, errno);
    if (::lseek(descriptor_.get(), 0, SEEK_SET) != 0) throwFileError("cannot rewind file", shownPath_, errno);
}

}  // namespace velmora::zip
