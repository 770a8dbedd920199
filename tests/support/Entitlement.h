#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace velmora::test {

// An entitlements file's text that entitles to the one group `group`.
std::string entitlementsNaming(std::string_view group);

// Entitles this process to the one group `group`, through an entitlements file written into
// `folder`, and makes `folder`/app-groups the root of the group containers. Call it before
// anything resolves the container.
void entitleProcess(const std::filesystem::path& folder, std::string_view group);

}  // namespace velmora::test
