// Compact voice data in the extension's bundle, and the dictionaries copied from it into packs.
#include <system_error>

#include "store/Bundle.h"
#include "store/VoiceStore.h"

namespace velmora {
namespace fs = std::filesystem;

std::optional<fs::path> VoiceStore::resourceFolder() {
    static const Bundle resources = Bundle::chooseResourcesBundle(Bundle::main());
    return resources.resourceFolder();
}

std::optional<fs::path> VoiceStore::compactDirectory(const VoiceRelease& release, std::string_view locale) {
    auto resources = resourceFolder();
    if (!resources) return std::nullopt;
    return compactDirectory(*resources, release, locale);
}

std::optional<fs::path> VoiceStore::compactDirectory(const fs::path& resources, const VoiceRelease& release,
                                                     std::string_view locale) {
    if (!isPlainName(locale)) return std::nullopt;
    fs::path folder = resources;
    if (release.directory) folder /= *release.directory;
    folder = folder / "TTSResources" / fs::path(locale);
    std::error_code error;
    if (!fs::exists(folder, error)) return std::nullopt;
    return folder;
}

bool VoiceStore::isDictionaryFile(std::string_view name) {
    return name == "user_rules.txt" || name.find("userdct") != std::string_view::npos;
}

std::vector<std::string> VoiceStore::missingDictionaries(const VoiceRelease& release,
                                                         std::string_view locale) {
    std::error_code error;
    auto pack = directory(release, locale);
    if (!pack || !fs::exists(*pack, error)) return {};
    auto compact = compactDirectory(release, locale);
    if (!compact) return {};
    std::vector<std::string> missing;
    for (fs::directory_iterator it(*compact, error), end; !error && it != end; it.increment(error)) {
        const std::string name = it->path().filename().string();
        std::error_code existsError;
        if (isDictionaryFile(name) && !fs::exists(fs::symlink_status(*pack / name, existsError))) {
            missing.push_back(name);
        }
    }
    if (error) return {};
    return missing;
}

int VoiceStore::addDictionaries(const VoiceRelease& release, std::string_view locale) {
    auto pack = directory(release, locale);
    auto compact = compactDirectory(release, locale);
    if (!pack || !compact) return 0;
    int copied = 0;
    for (const auto& name : missingDictionaries(release, locale)) {
        std::error_code error;
        fs::copy_file(*compact / name, *pack / name, fs::copy_options::none, error);
        if (!error) ++copied;
    }
    return copied;
}

int VoiceStore::addMissingDictionaries() {
    int total = 0;
    for (const auto& voice : installed()) total += addDictionaries(voice.release, voice.locale);
    return total;
}

}  // namespace velmora
