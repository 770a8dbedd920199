#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace velmora {

// Where App Group containers live: $VELMORA_APP_GROUPS_ROOT, else $XDG_DATA_HOME/app-groups.
struct AppGroupContainers {
    static std::filesystem::path root();

    // The container folder of `groupIdentifier` below `root`. A group the program is entitled
    // to gets its folder created on request; any other group's folder is found only if it
    // already exists. Absent when there is (or can be) no folder.
    static std::optional<std::filesystem::path> folder(const std::filesystem::path& root,
                                                       const std::string& groupIdentifier, bool entitled);
};

}  // namespace velmora
