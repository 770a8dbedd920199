#include "CompactVoice.h"

#include <algorithm>
#include <cctype>
#include <system_error>

#include "store/BrokerHeader.h"
#include "store/VoiceStore.h"

namespace velmora::provider {
namespace fs = std::filesystem;
namespace {

std::vector<std::string> sortedLocales(const fs::path& folder) {
    std::vector<std::string> locales;
    std::error_code error;
    for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
        std::error_code kindError;
        if (it->is_directory(kindError)) locales.push_back(it->path().filename().string());
    }
    std::ranges::sort(locales);
    return locales;
}

std::optional<std::string> compactVoiceName(const fs::path& resources, const VoiceRelease& release,
                                            const std::string& locale) {
    auto folder = VoiceStore::compactDirectory(resources, release, locale);
    if (!folder) return std::nullopt;
    auto header = readLatin1File(*folder / VoiceStore::headerName);
    if (!header) return std::nullopt;
    return VoiceStore::brokerTag("voice", *header);
}

std::string normalizedTag(std::string_view tag) {
    std::string normal(tag);
    for (char& c : normal)
        c = c == '_' ? '-' : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return normal;
}

}  // namespace

std::string CompactVoice::identifier() const {
    return identifierMarker + release.name + "." + locale + "." + name;
}

std::string CompactVoice::displayName() const { return name + " (" + release.label + ")"; }

std::vector<std::string> CompactVoice::languages() const {
    if (locale.starts_with("zh-")) return {locale, "en-US"};
    return {locale};
}

std::string CompactVoice::spokenLanguage(std::string_view requested) const {
    for (const auto& language : languages()) {
        if (normalizedTag(language) == normalizedTag(requested)) return language;
    }
    return locale;
}

std::vector<CompactVoice> compactVoices(const fs::path& resources) {
    std::vector<CompactVoice> voices;
    for (const auto& release : VoiceRelease::all()) {
        fs::path base = release.directory ? resources / *release.directory : resources;
        for (const auto& locale : sortedLocales(base / "TTSResources")) {
            if (auto name = compactVoiceName(resources, release, locale)) {
                voices.push_back({release, locale, std::move(*name)});
            }
        }
    }
    return voices;
}

std::optional<CompactVoice> findVoice(const std::vector<CompactVoice>& voices, std::string_view identifier) {
    auto found = std::ranges::find_if(
        voices, [&](const CompactVoice& voice) { return voice.identifier() == identifier; });
    if (found == voices.end()) return std::nullopt;
    return *found;
}

}  // namespace velmora::provider
