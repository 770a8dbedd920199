#pragma once

#include <cstddef>
#include <span>
#include <string>

namespace velmora::zip {

// The bytes as UTF-8 text; each ill-formed sequence (its maximal valid prefix, or one byte)
// becomes U+FFFD, so the result is always well-formed.
std::string decodeUtf8Lossy(std::span<const std::byte> bytes);

}  // namespace velmora::zip
