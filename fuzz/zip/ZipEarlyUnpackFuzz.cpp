// Unpacks any bytes as they would arrive over the network, in two pieces, and as a whole
// archive: whatever the early unpack accepts must be exactly what the whole unpack writes.
// Archives that declare more than a few megabytes are skipped.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "zip/EarlyUnpack.h"
#include "zip/ZipReader.h"

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

constexpr std::int64_t largestUnpack = 4 << 20;

fs::path scratchFolder() {
    const fs::path shared("/dev/shm");
    const auto parent = fs::is_directory(shared) ? shared : fs::temp_directory_path();
    return parent / ("velmora-early-unpack-fuzz-" + std::to_string(::getpid()));
}

bool smallEnough(std::span<const std::byte> archive) {
    std::int64_t total = 0;
    try {
        for (const auto& entry : velmora::ZipReader::entries(archive)) {
            if (entry.uncompressedSize < 0 || entry.uncompressedSize > largestUnpack) return false;
            total += entry.uncompressedSize;
            if (total > largestUnpack) return false;
        }
    } catch (const velmora::ZipReader::Failure&) {
        // Not a readable archive: the early unpack must refuse it too.
    }
    return true;
}

std::optional<Names> unpackWhole(std::span<const std::byte> archive, const fs::path& into) {
    try {
        return velmora::ZipReader::unpack(archive, into);
    } catch (const velmora::ZipReader::Failure&) {
        // Refused with a reason.
    } catch (const fs::filesystem_error&) {
        // An entry the file system will not take (a file where a folder is wanted, say).
    }
    return std::nullopt;
}

std::optional<Names> unpackEarly(std::span<const std::byte> archive, const fs::path& file,
                                 const fs::path& into) {
    std::ofstream(file, std::ios::binary | std::ios::trunc);
    velmora::EarlyUnpack early(file, into);
    for (const std::size_t end : {archive.size() / 2, archive.size()}) {
        std::ofstream(file, std::ios::binary | std::ios::app)
            .write(reinterpret_cast<const char*>(archive.data()) + fs::file_size(file),
                   static_cast<std::streamsize>(end - fs::file_size(file)));
        early.arrived(static_cast<std::int64_t>(end));
    }
    return early.finish();
}

std::string contents(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const fs::path folder = scratchFolder();
    const std::span archive(reinterpret_cast<const std::byte*>(data), size);
    fs::remove_all(folder);
    fs::create_directories(folder);
    if (smallEnough(archive)) {
        const auto whole = unpackWhole(archive, folder / "whole");
        const auto early = unpackEarly(archive, folder / "arriving.zip", folder / "early");
        if (early && early != whole) std::abort();
        for (const auto& name : early.value_or(Names{})) {
            if (contents(folder / "early" / name) != contents(folder / "whole" / name)) std::abort();
        }
    }
    fs::remove_all(folder);
    return 0;
}
