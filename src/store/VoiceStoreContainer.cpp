// The shared container: which App Group it belongs to, where it is, and why it is missing.
#include <algorithm>
#include <system_error>

#include "store/AppGroupContainers.h"
#include "store/Entitlements.h"
#include "store/VoiceStore.h"

namespace velmora {
namespace fs = std::filesystem;

const std::vector<std::string>& VoiceStore::groupIdentifiers() {
    static const std::vector<std::string> identifiers = [] {
        auto entitled = entitledGroups();
        return entitled.empty() ? fallbackGroupIdentifiers : entitled;
    }();
    return identifiers;
}

std::vector<std::string> VoiceStore::entitledGroups() {
    return Entitlements::applicationGroups(Entitlements::file());
}

const std::optional<VoiceStore::Group>& VoiceStore::group() {
    static const std::optional<Group> resolved = [] {
        const fs::path containers = AppGroupContainers::root();
        const auto entitled = entitledGroups();
        return resolveGroup(groupIdentifiers(), [&](const std::string& id) {
            const bool isEntitled = std::ranges::find(entitled, id) != entitled.end();
            return AppGroupContainers::folder(containers, id, isEntitled);
        });
    }();
    return resolved;
}

ContainerStatus VoiceStore::containerStatus() {
    if (const auto& resolved = group()) return ContainerStatus::Ready{resolved->url};
    auto entitled = entitledGroups();
    if (!entitled.empty()) return ContainerStatus::NoContainer{std::move(entitled)};
    return ContainerStatus::NotEntitled{};
}

std::optional<fs::path> VoiceStore::root(bool creating) {
    const auto& resolved = group();
    if (!resolved) return std::nullopt;
    fs::path voices = resolved->url / voiceRootName;
    if (creating) {
        // A failure shows at the caller's first write into the folder.
        std::error_code ignored;
        fs::create_directories(voices, ignored);
    }
    return voices;
}

}  // namespace velmora
