#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

#include "zip/ZipReader.h"

namespace velmora::zip {

// Reads little-endian fields from a position in an untrusted buffer. Every read is checked
// against the end of the buffer here and nowhere else; a read that does not fit throws the
// failure the cursor was made with.
class ByteCursor {
public:
    ByteCursor(std::span<const std::byte> bytes, std::uint64_t offset, ZipReader::Failure onOverrun)
        : bytes_(bytes), offset_(offset), onOverrun_(std::move(onOverrun)) {}

    // Fails unless `count` more bytes lie inside the buffer.
    void require(std::uint64_t count) const {
        if (offset_ > bytes_.size() || count > bytes_.size() - offset_) throw onOverrun_;
    }

    std::uint16_t u16() { return static_cast<std::uint16_t>(little(2)); }
    std::uint32_t u32() { return static_cast<std::uint32_t>(little(4)); }

    std::span<const std::byte> take(std::uint64_t count) {
        require(count);
        auto taken = bytes_.subspan(static_cast<std::size_t>(offset_), static_cast<std::size_t>(count));
        offset_ += count;
        return taken;
    }

    void skip(std::uint64_t count) { take(count); }
    std::uint64_t offset() const { return offset_; }

private:
    std::uint64_t little(int width) {
        const auto field = take(static_cast<std::uint64_t>(width));
        std::uint64_t value = 0;
        for (int i = width - 1; i >= 0; --i) value = (value << 8) | std::to_integer<std::uint64_t>(field[i]);
        return value;
    }

    std::span<const std::byte> bytes_;
    std::uint64_t offset_;
    ZipReader::Failure onOverrun_;
};

}  // namespace velmora::zip
