#pragma once

#include <filesystem>
#include <string>

namespace velmora {

// The private working folder of one install, Voices/.staging/<UUID>. It is locked (flock) for
// as long as the object lives, and removed with everything in it when the object goes. Folders
// of installs whose process died are unlocked; the next install removes them, never the folder
// of one that is still running.
class StagingFolder {
public:
    // Makes a fresh folder below `voiceRoot`/.staging. Throws filesystem_error when it cannot be
    // made; nothing is removed then.
    static StagingFolder create(const std::filesystem::path& voiceRoot);

    StagingFolder(StagingFolder&& other) noexcept;
    StagingFolder& operator=(StagingFolder&&) = delete;
    StagingFolder(const StagingFolder&) = delete;
    ~StagingFolder();

    const std::filesystem::path& path() const { return path_; }

    // A random UUID in its canonical upper-case form, 36 characters.
    static std::string newUuid();
    // Removes the folders below `stagingRoot` that no running install holds.
    static void removeAbandoned(const std::filesystem::path& stagingRoot);

private:
    StagingFolder(std::filesystem::path path, int lock) : path_(std::move(path)), lock_(lock) {}

    std::filesystem::path path_;
    int lock_ = -1;
};

}  // namespace velmora
