#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <span>
#include <vector>

namespace velmora {

// An SHA-1 computation fed piece by piece (OpenSSL).
class Sha1 {
public:
    static constexpr std::size_t size = 20;

    Sha1();
    ~Sha1();
    Sha1(const Sha1&) = delete;
    Sha1& operator=(const Sha1&) = delete;

    void update(std::span<const std::byte> piece);
    // Feeds the whole of a file, read in pieces of 4 MiB. Throws filesystem_error when the file
    // cannot be opened or read.
    void updateFromFile(const std::filesystem::path& file);
    // The 20 raw bytes; the computation is over afterwards.
    std::vector<std::byte> finish();

    // The SHA-1 of a whole file, as updateFromFile reads it.
    static std::vector<std::byte> ofFile(const std::filesystem::path& file);

private:
    struct Context;
    std::unique_ptr<Context> context_;
};

}  // namespace velmora
