#include "support/Entitlement.h"

#include <cstdlib>

#include "support/Files.h"

namespace velmora::test {

std::string entitlementsNaming(std::string_view group) {
    return "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>"
           "<key>com.apple.security.application-groups</key>"
           "<array><string>" +
           std::string(group) + "</string></array></dict></plist>";
}

void entitleProcess(const std::filesystem::path& folder, std::string_view group) {
    const auto entitlements = folder / "velmora.entitlements";
    writeFile(entitlements, entitlementsNaming(group));
    ::setenv("VELMORA_ENTITLEMENTS", entitlements.c_str(), 1);
    ::setenv("VELMORA_APP_GROUPS_ROOT", (folder / "app-groups").c_str(), 1);
    // Partial downloads stay in the test's folder, never in the user's cache.
    ::setenv("XDG_CACHE_HOME", (folder / "cache").c_str(), 1);
}

}  // namespace velmora::test
