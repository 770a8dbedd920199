// Voice packs in the container: where they are, their names and sizes, and their removal.
#include <sys/stat.h>

#include <algorithm>
#include <map>
#include <mutex>
#include <system_error>

#include "store/BrokerHeader.h"
#include "store/VoiceStore.h"

namespace velmora {
namespace fs = std::filesystem;
namespace {

// Voice names read from compact headers, keyed "release/locale". Only found names are stored.
class VoiceNameCache {
public:
    std::optional<std::string> find(const std::string& key) {
        std::lock_guard lock(mutex_);
        auto it = names_.find(key);
        if (it == names_.end()) return std::nullopt;
        return it->second;
    }
    void store(const std::string& key, const std::string& name) {
        std::lock_guard lock(mutex_);
        names_.emplace(key, name);
    }

private:
    std::mutex mutex_;
    std::map<std::string, std::string> names_;
};

VoiceNameCache& voiceNames() {
    static VoiceNameCache cache;
    return cache;
}

std::optional<std::string> headerVoiceName(const fs::path& folder) {
    auto header = readLatin1File(folder / VoiceStore::headerName);
    if (!header) return std::nullopt;
    return VoiceStore::brokerTag("voice", *header);
}

std::vector<std::string> sortedNames(const fs::path& folder) {
    std::vector<std::string> names;
    std::error_code error;
    for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
        names.push_back(it->path().filename().string());
    }
    if (error) return {};
    std::ranges::sort(names);
    return names;
}

std::int64_t entrySize(const fs::path& entry) {
    struct stat info {};
    if (::lstat(entry.c_str(), &info) != 0 || S_ISDIR(info.st_mode)) return 0;
    return static_cast<std::int64_t>(info.st_size);
}

}  // namespace

bool VoiceStore::isPlainName(std::string_view name) {
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string_view::npos &&
           name.find('\0') == std::string_view::npos;
}

std::optional<fs::path> VoiceStore::directory(const VoiceRelease& release, std::string_view locale) {
    auto voices = root(false);
    // A locale that is not one plain name ("..", "a/b") could lead outside the voice root.
    if (!voices || !isPlainName(locale)) return std::nullopt;
    return *voices / release.name / fs::path(locale);
}

bool VoiceStore::isInstalled(const VoiceRelease& release, std::string_view locale) {
    auto pack = directory(release, locale);
    if (!pack) return false;
    std::error_code error;
    return fs::exists(fs::symlink_status(*pack / headerName, error));
}

std::optional<std::string> VoiceStore::brokerTag(std::string_view tag, std::string_view text) {
    // Built by appending: GCC 12 at -O3 misreports operator+ chains on temporaries (-Wrestrict).
    std::string opening("<");
    opening.append(tag).append(">");
    std::string closing("</");
    closing.append(tag).append(">");
    const std::size_t open = text.find(opening);
    if (open == std::string_view::npos) return std::nullopt;
    const std::size_t contentStart = open + opening.size();
    const std::size_t close = text.find(closing, contentStart);
    if (close == std::string_view::npos) return std::nullopt;
    std::string content = trimmedWhitespace(text.substr(contentStart, close - contentStart));
    if (content.empty()) return std::nullopt;
    return content;
}

std::optional<std::string> VoiceStore::voiceName(const VoiceRelease& release, std::string_view locale) {
    const std::string key = release.name + "/" + std::string(locale);
    if (auto cached = voiceNames().find(key)) return cached;
    auto compact = compactDirectory(release, locale);
    if (!compact) return std::nullopt;
    auto name = headerVoiceName(*compact);
    if (name) voiceNames().store(key, *name);
    return name;
}

std::int64_t VoiceStore::size(const fs::path& folder) {
    std::int64_t total = 0;
    std::error_code error;
    for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
        total += entrySize(it->path());
    }
    return error ? 0 : total;
}

std::vector<InstalledVoice> VoiceStore::installed() {
    auto voices = root(false);
    if (!voices) return {};
    std::vector<InstalledVoice> result;
    for (const auto& release : VoiceRelease::all()) {
        const fs::path releaseFolder = *voices / release.name;
        for (const auto& locale : sortedNames(releaseFolder)) {
            const fs::path pack = releaseFolder / locale;
            auto name = headerVoiceName(pack);
            if (!name) continue;
            result.push_back(InstalledVoice{release, locale, *name, pack, size(pack)});
        }
    }
    return result;
}

void VoiceStore::remove(const VoiceRelease& release, std::string_view locale) {
    auto pack = directory(release, locale);
    if (!pack) return;
    // remove_all reports nothing for a missing path; a pack that is not there is an error here.
    if (!fs::exists(fs::symlink_status(*pack))) {
        throw fs::filesystem_error("cannot remove voice pack", *pack,
                                   std::make_error_code(std::errc::no_such_file_or_directory));
    }
    fs::remove_all(*pack);
    std::error_code ignored;
    const fs::path releaseFolder = pack->parent_path();
    if (fs::is_empty(releaseFolder, ignored) && !ignored) fs::remove(releaseFolder, ignored);
}

void VoiceStore::removeAll() {
    auto voices = root(false);
    if (!voices) return;
    if (fs::exists(fs::symlink_status(*voices))) fs::remove_all(*voices);
}

}  // namespace velmora
