// Unpacks any bytes into a fresh folder. Archives that declare more than a few megabytes are
// only listed: the point is the reader's handling of names, headers and streams, not the disk.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>

#include "zip/ZipReader.h"

namespace {

constexpr std::int64_t largestUnpack = 4 << 20;

std::filesystem::path scratchFolder() {
    const std::filesystem::path shared("/dev/shm");
    const auto parent =
        std::filesystem::is_directory(shared) ? shared : std::filesystem::temp_directory_path();
    return parent / ("velmora-unpack-fuzz-" + std::to_string(::getpid()));
}

bool smallEnough(std::span<const std::byte> archive) {
    std::int64_t total = 0;
    for (const auto& entry : velmora::ZipReader::entries(archive)) {
        if (entry.uncompressedSize < 0 || entry.uncompressedSize > largestUnpack) return false;
        total += entry.uncompressedSize;
        if (total > largestUnpack) return false;
    }
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::filesystem::path folder = scratchFolder();
    const std::span archive(reinterpret_cast<const std::byte*>(data), size);
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
    try {
        if (smallEnough(archive)) velmora::ZipReader::unpack(archive, folder);
    } catch (const velmora::ZipReader::Failure&) {
        // Refused with a reason.
    } catch (const std::filesystem::filesystem_error&) {
        // An entry the file system will not take (a file where a folder is wanted, say).
    }
    std::filesystem::remove_all(folder);
    return 0;
}
