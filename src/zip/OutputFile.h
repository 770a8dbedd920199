#pragma once

#include <cstddef>
#include <filesystem>
#include <span>
#include <string>

#include "base/UniqueFd.h"

namespace velmora::zip {

// A regular file opened for writing from its start. A link at its place is not followed and
// anything but a regular file is refused; an existing file is emptied. Errors are
// std::filesystem::filesystem_error naming `shownPath`.
class OutputFile {
public:
    // `name` is relative to the directory `directoryFd` (or AT_FDCWD).
    static OutputFile create(int directoryFd, const std::string& name,
                             const std::filesystem::path& shownPath);

    // Appends all of `bytes`.
    void write(std::span<const std::byte> bytes);
    // Empties the file and starts writing again from its start.
    void restart();

private:
    OutputFile(UniqueFd descriptor, std::filesystem::path shownPath)
        : descriptor_(std::move(descriptor)), shownPath_(std::move(shownPath)) {}

    UniqueFd descriptor_;
    std::filesystem::path shownPath_;
};

}  // namespace velmora::zip
