#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace velmora {

// The value of an environment variable, absent when it is unset or empty.
std::optional<std::string> environmentValue(const char* name);

// $XDG_DATA_HOME, or ~/.local/share when it is unset (the XDG default).
std::filesystem::path xdgDataHome();

// $XDG_CACHE_HOME, or ~/.cache when it is unset (the XDG default).
std::filesystem::path xdgCacheHome();

}  // namespace velmora
