#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace velmora::zip {

// The same register update as ZipReader::crc32 (no inversion at either end), computed with the
// carry-less multiply instructions of the processor: used to verify written entries, where the
// byte-at-a-time table would cost more than decoding.
std::uint32_t fastCrc32(std::span<const std::byte> bytes, std::uint32_t crcRegister);

}  // namespace velmora::zip
