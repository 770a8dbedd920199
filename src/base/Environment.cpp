#include "base/Environment.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>

namespace velmora {

std::optional<std::string> environmentValue(const char* name) {
    const char* value = std::getenv(name);
    if (value == nullptr || *value == '\0') return std::nullopt;
    return std::string(value);
}

std::filesystem::path xdgDataHome() {
    if (auto dataHome = environmentValue("XDG_DATA_HOME")) return *dataHome;
    std::filesystem::path home;
    if (auto fromEnvironment = environmentValue("HOME")) {
        home = *fromEnvironment;
    } else if (const passwd* entry = getpwuid(getuid()); entry != nullptr && entry->pw_dir != nullptr) {
        home = entry->pw_dir;
    } else {
        home = "/";
    }
    return home / ".local" / "share";
}

}  // namespace velmora
