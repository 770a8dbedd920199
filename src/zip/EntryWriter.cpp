#include "zip/EntryWriter.h"

#include <fcntl.h>

#include <algorithm>
#include <cstdint>
#include <thread>

#include "zip/Crc32.h"
#include "zip/InflateSteps.h"
#include "zip/ZipFormat.h"
#include "zip/ZlibInflate.h"

namespace velmora {
namespace zip {
namespace {

ZipReader::Failure lengthMismatch(const ZipReader::Entry& entry, std::int64_t count) {
    return ZipReader::Failure::corrupt(entry.name + " is " + std::to_string(count) + " bytes, expected " +
                                       std::to_string(entry.uncompressedSize));
}

// The running CRC register and byte count of one entry's written data.
struct Written {
    std::uint32_t crcRegister = 0xFFFFFFFF;
    std::int64_t count = 0;

    void add(std::span<const std::byte> piece) {
        crcRegister = fastCrc32(piece, crcRegister);
        count += static_cast<std::int64_t>(piece.size());
    }
};

void writeStored(std::span<const std::byte> body, OutputFile& file, Written& written) {
    for (std::size_t offset = 0; offset < body.size(); offset += ZipReader::stepSize) {
        const auto piece = body.subspan(offset, std::min(ZipReader::stepSize, body.size() - offset));
        file.write(piece);
        written.add(piece);
    }
}

using Inflate = void (*)(std::span<const std::byte>, const std::function<void(std::span<const std::byte>)>&);

// Output is stopped the moment it would pass the recorded size, so a small archive cannot fill
// the disk; the length message then counts the bytes decoded so far.
void writeDeflated(const ZipReader::Entry& entry, OutputFile& file, Written& written,
                   const std::function<void(const Emit&)>& decode) {
    decode([&](std::span<const std::byte> piece) {
        const std::int64_t decoded = written.count + static_cast<std::int64_t>(piece.size());
        if (decoded > entry.uncompressedSize) throw lengthMismatch(entry, decoded);
        file.write(piece);
        written.add(piece);
    });
}

void verify(const ZipReader::Entry& entry, const Written& written) {
    if (written.count != entry.uncompressedSize) throw lengthMismatch(entry, written.count);
    if (~written.crcRegister != entry.crc32) throw ZipReader::Failure::corrupt("checksum of " + entry.name);
}

void writeAndVerifyDeflated(const ZipReader::Entry& entry, std::span<const std::byte> body, OutputFile& file,
                            Inflate inflate) {
    Written written;
    writeDeflated(entry, file, written, [&](const Emit& emit) { inflate(body, emit); });
    verify(entry, written);
}

}  // namespace

unsigned writerThreads() {
    constexpr unsigned most = 8;
    return std::clamp(std::thread::hardware_concurrency(), 1U, most);
}

void writeEntryBody(const ZipReader::Entry& entry, std::span<const std::byte> body, OutputFile& file) {
    if (entry.method == format::deflated) {
        try {
            writeAndVerifyDeflated(entry, body, file, ZipReader::inflate);
        } catch (const ZipReader::Failure&) {
            // ISA-L accepts some damaged streams that zlib refuses (incomplete Huffman codes) and
            // names a cut stream differently. A damaged entry is rare, so it is decoded again by
            // zlib, the reference, whose output and verdict stand.
            file.restart();
            writeAndVerifyDeflated(entry, body, file, zlibInflate);
        }
        return;
    }
    if (entry.method != format::stored) throw ZipReader::Failure::unsupportedCompression(entry.method);
    Written written;
    writeStored(body, file, written);
    verify(entry, written);
}

void writeArrivingEntryBody(const ZipReader::Entry& entry, InputFeed& body, OutputFile& file) {
    Written written;
    if (entry.method == format::deflated) {
        writeDeflated(entry, file, written, [&](const Emit& emit) { fastInflate(body, emit); });
    } else if (entry.method == format::stored) {
        for (auto piece = body.next(); !piece.empty(); piece = body.next()) {
            file.write(piece);
            written.add(piece);
        }
    } else {
        throw ZipReader::Failure::unsupportedCompression(entry.method);
    }
    verify(entry, written);
}

}  // namespace zip

void ZipReader::write(const Entry& entry, std::span<const std::byte> archive,
                      const std::filesystem::path& destination) {
    const auto entryBody = body(entry, archive);
    auto file = zip::OutputFile::create(AT_FDCWD, destination.string(), destination);
    zip::writeEntryBody(entry, entryBody, file);
}

}  // namespace velmora
