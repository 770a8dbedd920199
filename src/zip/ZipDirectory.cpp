// Listing: the end record, the central directory, and each entry's data range.
#include <algorithm>
#include <cstdint>

#include "zip/ByteCursor.h"
#include "zip/HeaderFields.h"
#include "zip/Utf8.h"
#include "zip/ZipFormat.h"
#include "zip/ZipReader.h"

namespace velmora {
namespace {

using zip::ByteCursor;
namespace format = zip::format;

bool signatureAt(std::span<const std::byte> archive, std::uint64_t position, std::uint32_t signature) {
    if (position > archive.size() || archive.size() - position < 4) return false;
    for (int i = 0; i < 4; ++i) {
        if (std::to_integer<std::uint32_t>(archive[position + i]) != ((signature >> (8 * i)) & 0xFF))
            return false;
    }
    return true;
}

// Searches backwards from the last place the record fits, so the occurrence nearest the end
// wins; a buffer shorter than the record has nowhere to search.
std::uint64_t findEndRecord(std::span<const std::byte> archive) {
    const auto length = static_cast<std::int64_t>(archive.size());
    const auto window = static_cast<std::int64_t>(format::endSearchWindow);
    const std::int64_t lowest = length >= window ? length - window : 0;
    for (std::int64_t p = length - static_cast<std::int64_t>(format::endSize); p >= lowest; --p) {
        if (signatureAt(archive, static_cast<std::uint64_t>(p), format::endSignature))
            return static_cast<std::uint64_t>(p);
    }
    throw ZipReader::Failure::notAZip();
}

// The fields of the end record that the reader uses.
struct EndRecord {
    std::uint64_t position;
    std::uint16_t thisDisk;
    std::uint16_t directoryDisk;
    std::uint16_t total;
    std::uint32_t directorySize;
    std::uint32_t directoryOffset;
};

EndRecord readEndRecord(std::span<const std::byte> archive) {
    EndRecord end{};
    end.position = findEndRecord(archive);
    ByteCursor record(archive, end.position + 4, ZipReader::Failure::notAZip());
    end.thisDisk = record.u16();
    end.directoryDisk = record.u16();
    record.skip(2);  // records on this disk
    end.total = record.u16();
    end.directorySize = record.u32();
    end.directoryOffset = record.u32();
    return end;
}

// An archive whose central directory is encrypted has nothing readable at its end but zip64
// records, while its local headers still carry the encryption flags.
bool firstEntryIsEncrypted(std::span<const std::byte> archive) {
    if (!signatureAt(archive, 0, format::localSignature) || archive.size() < format::localSize) return false;
    ByteCursor header(archive, format::localFlagsOffset, ZipReader::Failure::notAZip());
    return (header.u16() & format::encryptionFlags) != 0;
}

// Zip64 and split archives would otherwise fail later with a misleading "damaged" message.
// A zip64 locator alone is not enough: Info-ZIP zip writes zip64 end records for input read
// from a pipe even when every value fits the 32-bit fields, and such archives read fine. Only a
// field that holds the "see the zip64 record" marker makes the archive unreadable here.
void refuseUnsupportedArchive(std::span<const std::byte> archive, const EndRecord& end) {
    if (firstEntryIsEncrypted(archive)) throw ZipReader::Failure::unsupportedFeature("encryption");
    const bool locator =
        end.position >= format::zip64LocatorSize &&
        signatureAt(archive, end.position - format::zip64LocatorSize, format::zip64LocatorSignature);
    const bool marked = end.total == 0xFFFF || end.thisDisk == 0xFFFF || end.directoryDisk == 0xFFFF ||
                        end.directorySize == format::zip64Marker ||
                        end.directoryOffset == format::zip64Marker;
    if (locator && marked) throw ZipReader::Failure::unsupportedFeature("zip64 extensions");
    if (end.thisDisk != 0 || end.directoryDisk != 0)
        throw ZipReader::Failure::unsupportedFeature("multiple disks");
}

void refuseUnsupportedEntry(std::uint16_t flags, std::uint16_t startDisk, std::uint32_t compressedSize,
                            std::uint32_t uncompressedSize, std::uint32_t localHeaderOffset) {
    if ((flags & format::encryptionFlags) != 0) throw ZipReader::Failure::unsupportedFeature("encryption");
    if (compressedSize == format::zip64Marker || uncompressedSize == format::zip64Marker ||
        localHeaderOffset == format::zip64Marker || startDisk == 0xFFFF) {
        throw ZipReader::Failure::unsupportedFeature("zip64 extensions");
    }
    if (startDisk != 0) throw ZipReader::Failure::unsupportedFeature("multiple disks");
}

// Reads the record at `position` and moves `position` to the next one.
ZipReader::Entry readCentralRecord(std::span<const std::byte> archive, std::uint64_t& position) {
    ByteCursor record(archive, position, ZipReader::Failure::corrupt("central directory"));
    record.require(format::centralSize);
    if (record.u32() != format::centralSignature) throw ZipReader::Failure::corrupt("central directory");
    record.skip(4);  // versions
    const zip::HeaderFields fields = zip::readHeaderFields(record);
    const std::uint16_t commentLength = record.u16();
    const std::uint16_t startDisk = record.u16();
    record.skip(6);  // attributes
    const std::uint32_t localHeaderOffset = record.u32();
    refuseUnsupportedEntry(fields.flags, startDisk, fields.compressedSize, fields.uncompressedSize,
                           localHeaderOffset);
    auto name = zip::decodeUtf8Lossy(record.take(fields.nameLength));
    position += format::centralSize + fields.nameLength + fields.extraLength + commentLength;
    return zip::entryOf(fields, std::move(name), localHeaderOffset);
}

}  // namespace

std::vector<ZipReader::Entry> ZipReader::entries(std::span<const std::byte> archive) {
    const EndRecord end = readEndRecord(archive);
    if (end.total == 0) return {};
    refuseUnsupportedArchive(archive, end);

    std::uint64_t position = end.directoryOffset;
    std::vector<Entry> list;
    // Reserve no more than the bytes after the offset could hold, whatever the total claims.
    const std::uint64_t room =
        position < archive.size() ? (archive.size() - position) / format::centralSize : 0;
    list.reserve(static_cast<std::size_t>(std::min<std::uint64_t>(end.total, room)));
    for (std::uint16_t i = 0; i < end.total; ++i) list.push_back(readCentralRecord(archive, position));
    return list;
}

std::span<const std::byte> ZipReader::body(const Entry& entry, std::span<const std::byte> archive) {
    const auto headerOffset = static_cast<std::uint64_t>(entry.localHeaderOffset);
    ByteCursor header(archive, headerOffset, Failure::corrupt("header of " + entry.name));
    header.require(format::localSize);
    if (header.u32() != format::localSignature) throw Failure::corrupt("header of " + entry.name);
    header.skip(2);  // version
    const zip::HeaderFields fields = zip::readHeaderFields(header);
    // The local header's own lengths rule here: writers may put a longer extra field (such as
    // alignment padding) in the local header than in the central record.
    const std::uint64_t start = headerOffset + format::localSize + fields.nameLength + fields.extraLength;
    const auto size = static_cast<std::uint64_t>(entry.compressedSize);
    if (start > archive.size() || size > archive.size() - start)
        throw Failure::corrupt("body of " + entry.name);
    return archive.subspan(static_cast<std::size_t>(start), static_cast<std::size_t>(size));
}

}  // namespace velmora
