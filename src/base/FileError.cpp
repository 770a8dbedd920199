#include "base/FileError.h"

#include <system_error>

namespace velmora {

void throwFileError(const char* what, const std::filesystem::path& path, int error) {
    throw std::filesystem::filesystem_error(what, path, std::error_code(error, std::generic_category()));
}

}  // namespace velmora
