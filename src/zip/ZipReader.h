#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace velmora {

// Reads the zip archives in which voice packs are published: a single-disk archive with 32-bit
// sizes and offsets whose entries are stored (method 0) or deflated (method 8). The archive is
// one read-only buffer (normally a MappedFile); nothing of it is ever copied.
struct ZipReader {
    // One central-directory record. Sizes, offset and CRC come from the central directory only.
    struct Entry {
        std::string name;  // as stored, decoded as UTF-8 (ill-formed sequences become U+FFFD)
        std::uint16_t method = 0;
        std::int64_t compressedSize = 0;
        std::int64_t uncompressedSize = 0;
        std::uint32_t crc32 = 0;
        std::int64_t localHeaderOffset = 0;

        bool operator==(const Entry&) const = default;
    };

    class Failure;

    // The decoder's output buffer and the largest piece in which a stored entry is copied.
    static constexpr std::size_t stepSize = 4'194'304;

    // The central directory, in order. Throws Failure (notAZip, corrupt("central directory"),
    // unsupportedFeature).
    static std::vector<Entry> entries(std::span<const std::byte> archive);

    // The entry's stored (still compressed) bytes, as a view into the archive. Throws
    // corrupt("header of NAME") or corrupt("body of NAME").
    static std::span<const std::byte> body(const Entry& entry, std::span<const std::byte> archive);

    // Feeds bytes through the zip CRC-32 register, one byte at a time through the table, with no
    // inversion at either end: start at 0xFFFFFFFF and complement the final value.
    static std::uint32_t crc32(std::span<const std::byte> bytes, std::uint32_t crcRegister);

    // Decodes a raw DEFLATE stream in steps of at most stepSize bytes, handing each decoded piece
    // to `emit` (the piece is valid only until `emit` returns). Bytes after the end of the stream
    // are ignored. Throws Failure for bad data, or whatever `emit` throws.
    static void inflate(std::span<const std::byte> stream,
                        const std::function<void(std::span<const std::byte>)>& emit);

    // Writes one entry to `destination` (created, or emptied when it exists; a link there is not
    // followed) and verifies its length, then its CRC-32.
    static void write(const Entry& entry, std::span<const std::byte> archive,
                      const std::filesystem::path& destination);

    // Writes every file entry below `into`, creating the folders they need, and returns the
    // names written in central-directory order. Every name is checked before anything is written.
    // Entries are inflated on every core, one writer per file; folders and files are created in
    // archive order first. Fails with the failure of the first failing entry in archive order,
    // whichever writer met it, and leaves what it wrote (no file past an entry whose header, name
    // or method fails). `writing` hears each name before its entry is written, and the failing
    // entry's name last, so a caller can tell which entry a failure belongs to.
    static std::vector<std::string> unpack(std::span<const std::byte> archive,
                                           const std::filesystem::path& into,
                                           const std::function<void(const std::string& name)>& writing = {});
};

// Why an archive cannot be read; what() is the text shown to the user.
class ZipReader::Failure : public std::runtime_error {
public:
    enum class Kind {
        unsupportedCompression,  // payload: method
        corrupt,                 // payload: detail
        notAZip,
        unsafeName,          // payload: detail holds the entry's name
        unsupportedFeature,  // payload: detail names the feature
    };

    static Failure unsupportedCompression(std::uint16_t method);
    static Failure corrupt(std::string detail);
    static Failure notAZip();
    static Failure unsafeName(std::string name);
    static Failure unsupportedFeature(std::string feature);

    Kind kind() const { return kind_; }
    std::uint16_t method() const { return method_; }
    const std::string& detail() const { return detail_; }

private:
    Failure(Kind kind, std::uint16_t method, std::string detail, const std::string& text);

    Kind kind_;
    std::uint16_t method_;
    std::string detail_;
};

}  // namespace velmora
