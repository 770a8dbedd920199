#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "zip/ByteCursor.h"
#include "zip/ZipReader.h"

namespace velmora::zip {

// The fields that a local header and a central record share, in the same order from the flags
// on: flags, method, time, date, CRC-32, compressed and uncompressed size, name and extra field
// lengths.
struct HeaderFields {
    std::uint16_t flags = 0;
    std::uint16_t method = 0;
    std::uint32_t crc32 = 0;
    std::uint32_t compressedSize = 0;
    std::uint32_t uncompressedSize = 0;
    std::uint16_t nameLength = 0;
    std::uint16_t extraLength = 0;
};

// Reads them from a cursor at the flags.
inline HeaderFields readHeaderFields(ByteCursor& cursor) {
    HeaderFields fields;
    fields.flags = cursor.u16();
    fields.method = cursor.u16();
    cursor.skip(4);  // time, date
    fields.crc32 = cursor.u32();
    fields.compressedSize = cursor.u32();
    fields.uncompressedSize = cursor.u32();
    fields.nameLength = cursor.u16();
    fields.extraLength = cursor.u16();
    return fields;
}

// The entry these fields describe, with its name and where its local header starts.
inline ZipReader::Entry entryOf(const HeaderFields& fields, std::string name,
                                std::int64_t localHeaderOffset) {
    ZipReader::Entry entry;
    entry.name = std::move(name);
    entry.method = fields.method;
    entry.compressedSize = fields.compressedSize;
    entry.uncompressedSize = fields.uncompressedSize;
    entry.crc32 = fields.crc32;
    entry.localHeaderOffset = localHeaderOffset;
    return entry;
}

}  // namespace velmora::zip
