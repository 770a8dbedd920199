#include "store/Bundle.h"

#include <system_error>

namespace velmora {
namespace fs = std::filesystem;

namespace {

std::optional<fs::path> existingDirectory(const fs::path& path) {
    std::error_code error;
    if (fs::is_directory(path, error)) return path;
    return std::nullopt;
}

}  // namespace

const Bundle& Bundle::main() {
    static const Bundle bundle = [] {
        std::error_code error;
        fs::path executable = fs::read_symlink("/proc/self/exe", error);
        return Bundle(error ? fs::current_path() : executable.parent_path());
    }();
    return bundle;
}

std::optional<Bundle> Bundle::open(const fs::path& path) {
    if (!existingDirectory(path)) return std::nullopt;
    return Bundle(path);
}

std::optional<fs::path> Bundle::resourceFolder() const { return existingDirectory(folder_ / "Resources"); }

std::optional<fs::path> Bundle::builtInPlugInsFolder() const {
    return existingDirectory(folder_ / "PlugIns");
}

Bundle Bundle::chooseResourcesBundle(const Bundle& application) {
    auto plugIns = application.builtInPlugInsFolder();
    if (!plugIns) return application;
    std::error_code error;
    fs::directory_iterator listing(*plugIns, error);
    if (error) return application;
    for (const auto& entry : listing) {
        if (!entry.path().filename().native().ends_with(".appex")) continue;
        auto plugIn = open(entry.path());
        return plugIn ? *plugIn : application;
    }
    return application;
}

}  // namespace velmora
