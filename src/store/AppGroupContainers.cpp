#include "store/AppGroupContainers.h"

#include <system_error>

#include "base/Environment.h"

namespace velmora {
namespace fs = std::filesystem;

fs::path AppGroupContainers::root() {
    if (auto overridden = environmentValue("VELMORA_APP_GROUPS_ROOT")) return *overridden;
    return xdgDataHome() / "app-groups";
}

std::optional<fs::path> AppGroupContainers::folder(const fs::path& root, const std::string& groupIdentifier,
                                                   bool entitled) {
    // An identifier that is not one plain name could point anywhere; it names no container.
    const fs::path name(groupIdentifier);
    if (groupIdentifier.empty() || name.has_parent_path() || name == "." || name == "..") return std::nullopt;
    const fs::path container = root / name;
    std::error_code error;
    if (entitled) fs::create_directories(container, error);
    if (fs::is_directory(container, error)) return container;
    return std::nullopt;
}

}  // namespace velmora
