#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "store/ContainerStatus.h"
#include "store/InstalledVoice.h"
#include "store/VoiceRelease.h"

namespace velmora {

// Every operation on the container shared with the voice extension and on the compact voice
// data in the extension's bundle. The container and the resource bundle are resolved once per
// process; file operations fail soft, except the two removals.
struct VoiceStore {
    // The container that was resolved: the identifier that worked and its folder.
    struct Group {
        std::string id;
        std::filesystem::path url;
    };

    static inline const std::vector<std::string> fallbackGroupIdentifiers{
        "R8TD3KQ2VX.group.com.tarvenholt.Velmora",
        "group.com.tarvenholt.Velmora",
    };
    static constexpr const char* voiceRootName = "Voices";
    static constexpr const char* headerName = "broker.hdr";
    static constexpr const char* stagingName = ".staging";

    // Shared container.
    static const std::vector<std::string>& groupIdentifiers();
    static std::vector<std::string> entitledGroups();
    static const std::optional<Group>& group();
    static ContainerStatus containerStatus();
    static std::optional<std::filesystem::path> root(bool creating);

    // The first of `identifiers` whose container `lookup` finds; the seam-free core of group().
    template <typename Lookup>
    static std::optional<Group> resolveGroup(const std::vector<std::string>& identifiers, Lookup&& lookup) {
        for (const auto& id : identifiers) {
            if (std::optional<std::filesystem::path> folder = lookup(id)) return Group{id, *folder};
        }
        return std::nullopt;
    }

    // Packs in the container. A locale must be one plain file name.
    static bool isPlainName(std::string_view name);
    static std::optional<std::filesystem::path> directory(const VoiceRelease& release,
                                                          std::string_view locale);
    static bool isInstalled(const VoiceRelease& release, std::string_view locale);
    static std::optional<std::string> brokerTag(std::string_view tag, std::string_view text);
    static std::optional<std::string> voiceName(const VoiceRelease& release, std::string_view locale);
    static std::int64_t size(const std::filesystem::path& directory);
    static std::vector<InstalledVoice> installed();
    static void remove(const VoiceRelease& release, std::string_view locale);
    static void removeAll();

    // Compact data and dictionaries.
    static std::optional<std::filesystem::path> resourceFolder();
    static std::optional<std::filesystem::path> compactDirectory(const VoiceRelease& release,
                                                                 std::string_view locale);
    static std::optional<std::filesystem::path> compactDirectory(const std::filesystem::path& resources,
                                                                 const VoiceRelease& release,
                                                                 std::string_view locale);
    static bool isDictionaryFile(std::string_view name);
    static std::vector<std::string> missingDictionaries(const VoiceRelease& release, std::string_view locale);
    static int addDictionaries(const VoiceRelease& release, std::string_view locale);
    static int addMissingDictionaries();
};

}  // namespace velmora
