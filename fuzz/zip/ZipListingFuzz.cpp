// The central directory of any bytes, and the stored bytes of every entry it lists.
#include <cstddef>
#include <cstdint>
#include <span>

#include "zip/ZipReader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::span archive(reinterpret_cast<const std::byte*>(data), size);
    try {
        for (const auto& entry : velmora::ZipReader::entries(archive)) {
            try {
                const auto body = velmora::ZipReader::body(entry, archive);
                velmora::ZipReader::crc32(body, 0xFFFFFFFF);
            } catch (const velmora::ZipReader::Failure&) {
                // A damaged entry: the others are still read.
            }
        }
    } catch (const velmora::ZipReader::Failure&) {
        // Not a readable archive: refused with a reason, which is all that is asked.
    }
    return 0;
}
