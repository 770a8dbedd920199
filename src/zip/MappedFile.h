#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>

namespace velmora {

// A whole file mapped read-only into memory. The bytes stay valid for as long as the object
// lives; an empty file gives an empty span (mapping zero bytes is not allowed).
class MappedFile {
public:
    // Throws std::filesystem::filesystem_error when the file cannot be opened, read or mapped.
    static MappedFile open(const std::filesystem::path& path);
    // Bytes [offset, offset + length) of the open file `fd`, which must already hold them; a file
    // that grows meanwhile leaves them valid. Errors name `shownPath`.
    static MappedFile openRange(int fd, std::uint64_t offset, std::size_t length,
                                const std::filesystem::path& shownPath);

    MappedFile(MappedFile&& other) noexcept;
    MappedFile& operator=(MappedFile&& other) noexcept;
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;
    ~MappedFile();

    std::span<const std::byte> bytes() const {
        return std::span(static_cast<const std::byte*>(address_), size_).subspan(skipped_);
    }

private:
    MappedFile(void* address, std::size_t size, std::size_t skipped = 0)
        : address_(address), size_(size), skipped_(skipped) {}

    void* address_ = nullptr;
    std::size_t size_ = 0;
    std::size_t skipped_ = 0;  // bytes mapped before the range asked for (mappings start at a page)
};

}  // namespace velmora
