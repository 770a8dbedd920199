#pragma once

#include <filesystem>
#include <optional>

namespace velmora {

// A bundle is a folder holding an executable, its Resources/ and its PlugIns/.
class Bundle {
public:
    // The bundle of the running program: the folder of /proc/self/exe.
    static const Bundle& main();
    // Opens the folder at `path` as a bundle; absent when it is not a directory.
    static std::optional<Bundle> open(const std::filesystem::path& path);

    const std::filesystem::path& folder() const { return folder_; }
    // Resources/ below the bundle, absent when the bundle has none.
    std::optional<std::filesystem::path> resourceFolder() const;
    // PlugIns/ below the bundle, absent when the bundle has none.
    std::optional<std::filesystem::path> builtInPlugInsFolder() const;

    // The bundle whose resources hold the compact voice data: the first ".appex" entry of the
    // plug-ins folder, in listing order, else `application` itself (also when that entry cannot
    // be opened; later entries are not tried).
    static Bundle chooseResourcesBundle(const Bundle& application);

private:
    explicit Bundle(std::filesystem::path folder) : folder_(std::move(folder)) {}
    std::filesystem::path folder_;
};

}  // namespace velmora
