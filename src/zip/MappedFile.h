#pragma once

#include <cstddef>
#include <filesystem>
#include <span>

namespace velmora {

// A whole file mapped read-only into memory. The bytes stay valid for as long as the object
// lives; an empty file gives an empty span (mapping zero bytes is not allowed).
class MappedFile {
public:
    // Throws std::filesystem::filesystem_error when the file cannot be opened, read or mapped.
    static MappedFile open(const std::filesystem::path& path);

    MappedFile(MappedFile&& other) noexcept;
    MappedFile& operator=(MappedFile&& other) noexcept;
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;
    ~MappedFile();

    std::span<const std::byte> bytes() const { return {static_cast<const std::byte*>(address_), size_}; }

private:
    MappedFile(void* address, std::size_t size) : address_(address), size_(size) {}

    void* address_ = nullptr;
    std::size_t size_ = 0;
};

}  // namespace velmora
