#include "zip/MappedFile.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "base/FileError.h"
#include "base/UniqueFd.h"

namespace velmora {

MappedFile MappedFile::open(const std::filesystem::path& path) {
    // The descriptor is closed on every way out; the mapping outlives it.
    const UniqueFd descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    const int fd = descriptor.get();
    if (fd < 0) throwFileError("cannot open archive", path, errno);
    struct stat status {};
    if (::fstat(fd, &status) != 0) throwFileError("cannot read archive", path, errno);
    if (!S_ISREG(status.st_mode)) throwFileError("cannot map archive", path, EINVAL);
    const auto size = static_cast<std::size_t>(status.st_size);
    if (size == 0) return MappedFile(nullptr, 0);
    void* address = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, fd, 0);
    if (address == MAP_FAILED) throwFileError("cannot map archive", path, errno);
    // Entries are read front to back once: let the kernel read ahead generously.
    ::madvise(address, size, MADV_SEQUENTIAL);
    return MappedFile(address, size);
}

MappedFile::MappedFile(MappedFile&& other) noexcept
    : address_(std::exchange(other.address_, nullptr)), size_(std::exchange(other.size_, 0)) {}

MappedFile& MappedFile::operator=(MappedFile&& other) noexcept {
    if (this != &other) {
        if (address_ != nullptr) ::munmap(address_, size_);
        address_ = std::exchange(other.address_, nullptr);
        size_ = std::exchange(other.size_, 0);
    }
    return *this;
}

MappedFile::~MappedFile() {
    if (address_ != nullptr) ::munmap(address_, size_);
}

}  // namespace velmora
