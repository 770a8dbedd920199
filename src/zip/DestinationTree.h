#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "zip/OutputFile.h"

namespace velmora::zip {

// The folder an archive is unpacked into. Folders below it are created and entered one
// component at a time relative to their parent's descriptor, never following a link, so an
// existing link inside the destination cannot redirect a write elsewhere.
class DestinationTree {
public:
    explicit DestinationTree(std::filesystem::path root) : root_(std::move(root)) {}

    // Creates the folders of a safe entry name up to its last component and returns the folder
    // that will hold it. The root itself is created (with its parents) on first use.
    UniqueFd makeParentOf(const std::string& name);

    // Creates (or empties) the file of a safe entry name inside `parent`.
    OutputFile createFile(const UniqueFd& parent, const std::string& name) const;

private:
    const UniqueFd& root();

    std::filesystem::path root_;
    std::optional<UniqueFd> rootDescriptor_;
};

}  // namespace velmora::zip
