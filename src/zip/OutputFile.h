#pragma once

#include <cstddef>
#include <filesystem>
#include <span>
#include <string>

namespace velmora::zip {

// An open descriptor, closed when the holder goes away.
class Descriptor {
public:
    explicit Descriptor(int fd) : fd_(fd) {}
    Descriptor(Descriptor&& other) noexcept;
    Descriptor& operator=(Descriptor&& other) noexcept;
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor();

    int get() const { return fd_; }

private:
    int fd_;
};

// A regular file opened for writing from its start. A link at its place is not followed and
// anything but a regular file is refused; an existing file is emptied. Errors are
// std::filesystem::filesystem_error naming `shownPath`.
class OutputFile {
public:
    // `name` is relative to the directory `directoryFd` (or AT_FDCWD).
    static OutputFile create(int directoryFd, const std::string& name,
                             const std::filesystem::path& shownPath);

    // Appends all of `bytes`.
    void write(std::span<const std::byte> bytes);
    // Empties the file and starts writing again from its start.
    void restart();

private:
    OutputFile(Descriptor descriptor, std::filesystem::path shownPath)
        : descriptor_(std::move(descriptor)), shownPath_(std::move(shownPath)) {}

    Descriptor descriptor_;
    std::filesystem::path shownPath_;
};

[[noreturn]] void throwFileError(const char* what, const std::filesystem::path& path, int error);

}  // namespace velmora::zip
