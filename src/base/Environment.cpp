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

namespace {

std::filesystem::path homeFolder() {
    std::filesystem::path home;
    if (auto fromEnvironment = environmentValue("HOME")) {
        home = *fromEnvironment;
    } else if (const passwd* entry = getpwuid(getuid()); entry != nullptr && entry->pw_dir != nullptr) {
        home = entry->pw_dir;
    } else {
        home = "/";
    }
    return home;
}

}  // namespace

std::filesystem::path xdgDataHome() {
    if (auto dataHome = environmentValue("XDG_DATA_HOME")) return *dataHome;
    return homeFolder() / ".local" / "share";
}

std::filesystem::path xdgCacheHome() {
    if (auto cacheHome = environmentValue("XDG_CACHE_HOME")) return *cacheHome;
    return homeFolder() / ".cache";
}

}  // namespace velmora
