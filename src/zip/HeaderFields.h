#pragma once

#include <cstdint>

#include "zip/ByteCursor.h"

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

}  // namespace velmora::zip
