#include "zip/MappedFile.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace velmora {
namespace {

[[noreturn]] void fail(const char* what, const std::filesystem::path& path, int error) {
    throw std::filesystem::filesystem_error(what, path, std::error_code(error, std::generic_category()));
}

// Closes the descriptor on every way out of open(); the mapping outlives it.
struct Descriptor {
    int fd;
    ~Descriptor() { ::close(fd); }
};

}  // namespace

MappedFile MappedFile::open(const std::filesystem::path& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) fail("cannot open archive", path, errno);
    const Descriptor descriptor{fd};
    struct stat status {};
    if (::fstat(fd, &status) != 0) fail("cannot read archive", path, errno);
    if (!S_ISREG(status.st_mode)) fail("cannot map archive", path, EINVAL);
    const auto size = static_cast<std::size_t>(status.st_size);
    if (size == 0) return MappedFile(nullptr, 0);
    void* address = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, fd, 0);
    if (address == MAP_FAILED) fail("cannot map archive", path, errno);
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
