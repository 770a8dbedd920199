#pragma once

#include <cstdint>
#include <string>

namespace velmora {

// A byte count as a file size in decimal units, as a desktop shows it: "Zero KB", "1 byte",
// "532 bytes", "12 KB", "12.3 MB", "1.25 GB".
std::string formatByteCount(std::int64_t bytes);

}  // namespace velmora
