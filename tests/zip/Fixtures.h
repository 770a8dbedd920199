#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace velmora::test {

std::vector<std::byte> readBytes(const std::filesystem::path& file);
std::span<const std::byte> asBytes(std::string_view text);
std::string asText(std::span<const std::byte> bytes);

// Deterministic, moderately compressible content.
std::string patterned(std::size_t size, unsigned seed);
// Raw DEFLATE of `data` by zlib at `level` (0 gives stored blocks).
std::string rawDeflate(std::string_view data, int level = 6);
// zlib's CRC-32, independent of the reader's.
std::uint32_t referenceCrc(std::string_view data);

// A file (or, with a name ending in "/", a directory) of a test archive.
struct SourceFile {
    std::string name;
    std::string data;
    bool stored = false;
};

// Writes the files and directories below `folder`.
void writeTree(const std::filesystem::path& folder, const std::vector<SourceFile>& files);

struct PythonZipOptions {
    std::size_t commentLength = 0;
    bool streamed = false;  // written to a pipe-like stream: data descriptors, zero local sizes
};

// Python's zipfile archives the files of writeTree(folder, files), in order.
void pythonZip(const std::filesystem::path& archive, const std::filesystem::path& folder,
               const std::vector<SourceFile>& files, PythonZipOptions options = {});
// Info-ZIP zip archives the whole of `folder`, recursively.
void infoZip(const std::filesystem::path& archive, const std::filesystem::path& folder);
// Info-ZIP zip archives standard input, read from `input`, as the entry "-".
void infoZipFromStdin(const std::filesystem::path& archive, const std::filesystem::path& input);

}  // namespace velmora::test
