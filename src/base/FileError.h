#pragma once

#include <filesystem>

namespace velmora {

// Throws std::filesystem::filesystem_error for `path`, with `what` and the errno value `error`.
[[noreturn]] void throwFileError(const char* what, const std::filesystem::path& path, int error);

}  // namespace velmora
