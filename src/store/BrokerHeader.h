#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace velmora {

// A whole file read as ISO 8859-1 and returned as UTF-8; absent when it cannot be read.
std::optional<std::string> readLatin1File(const std::filesystem::path& file);

// `text` with Unicode white space and line breaks trimmed from both ends (UTF-8 in and out).
std::string trimmedWhitespace(std::string_view text);

}  // namespace velmora
