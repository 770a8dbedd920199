#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace velmora {

// The code-signing entitlements of this program, kept as an XML property list in the bundle.
struct Entitlements {
    static constexpr const char* applicationGroupsKey = "com.apple.security.application-groups";

    // The file in force: $VELMORA_ENTITLEMENTS, else Resources/velmora.entitlements of the
    // running program's bundle.
    static std::filesystem::path file();

    // The application groups that `file` grants, in stored order. A missing or damaged file,
    // or a value that is not a list of strings, grants none.
    static std::vector<std::string> applicationGroups(const std::filesystem::path& file);
};

}  // namespace velmora
