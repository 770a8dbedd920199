#include "zip/Crc32.h"

#include <isa-l/crc.h>

#include <array>

#include "zip/ZipReader.h"

namespace velmora {
namespace {

using CrcTable = std::array<std::uint32_t, 256>;

// The reflected CRC-32 of the zip format (polynomial 0x04C11DB7, reflected 0xEDB88320).
CrcTable makeCrcTable() {
    CrcTable table{};
    for (std::uint32_t n = 0; n < table.size(); ++n) {
        std::uint32_t c = n;
        for (int bit = 0; bit < 8; ++bit) c = (c & 1) != 0 ? (c >> 1) ^ 0xEDB88320U : c >> 1;
        table[n] = c;
    }
    return table;
}

}  // namespace

std::uint32_t ZipReader::crc32(std::span<const std::byte> bytes, std::uint32_t crcRegister) {
    static const CrcTable table = makeCrcTable();  // built once, thread-safe, read-only afterwards
    for (const std::byte b : bytes) {
        crcRegister = table[(crcRegister ^ std::to_integer<std::uint32_t>(b)) & 0xFF] ^ (crcRegister >> 8);
    }
    return crcRegister;
}

namespace zip {

std::uint32_t fastCrc32(std::span<const std::byte> bytes, std::uint32_t crcRegister) {
    // ISA-L takes and returns the finished CRC (inverted at both ends); undo both inversions so
    // the register passes through unchanged in meaning.
    const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
    return ~crc32_gzip_refl(~crcRegister, data, bytes.size());
}

}  // namespace zip
}  // namespace velmora
