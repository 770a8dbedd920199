#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace velmora {

// The whole of a file; absent when it cannot be opened or read, or holds more than `maxBytes`.
std::optional<std::string> readWholeFile(const std::filesystem::path& file, std::size_t maxBytes = SIZE_MAX);

// The first `count` bytes of a file, fewer when it is shorter; absent when it cannot be opened
// or read.
std::optional<std::string> readFileStart(const std::filesystem::path& file, std::size_t count);

}  // namespace velmora
