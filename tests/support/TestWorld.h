#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velmora::test {

// Files below the test bundle's plug-in Resources folder, each with its contents.
using CompactFiles = std::vector<std::pair<std::string, std::string>>;

// The world a test process runs in: one temporary folder, removed at exit, that holds the
// entitlements file, the group containers and the folders shared with bus-activated services.
// Each step is set up once, from main, before anything resolves the container.
class TestWorld {
public:
    static const std::filesystem::path& folder();
    static std::filesystem::path container(std::string_view group) { return folder() / "app-groups" / group; }
    // Entitles this process to the one group `group`, whose container lives below folder().
    static void entitle(std::string_view group);
    // This test bundle's compact data folder, and a call that replaces its files with `files`.
    static std::filesystem::path compactResources();
    static void writeCompactData(const CompactFiles& files);
    // Fixes the user's locale to en-US, which display orders and number formats follow.
    static void useUsEnglish();
    // Gives services the session bus activates this world's containers, data and temporary
    // folders; `entitlements` is the file that this process resolves its container through
    // (empty: none, as velmora-cli run from the build tree).
    static void shareWithBus(const std::filesystem::path& entitlements = {});
};

}  // namespace velmora::test
