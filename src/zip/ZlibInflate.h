#pragma once

#include <cstddef>
#include <functional>
#include <span>

namespace velmora::zip {

// ZipReader::inflate with zlib as the decoder: the same steps, outputs and failures. Kept as the
// reference that the faster decoder is checked against.
void zlibInflate(std::span<const std::byte> stream,
                 const std::function<void(std::span<const std::byte>)>& emit);

}  // namespace velmora::zip
