#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "support/Files.h"
#include "support/Process.h"

namespace velmora::test {

// A private copy of the velmora-cli bundle: the executable, an entitlements file naming one
// group, a plug-in with compact data for ios5/en-US, and a container root of its own.
class CliBundle {
public:
    CliBundle();

    ProcessResult run(const std::vector<std::string>& arguments) const;
    // What a run changes in the environment: the bundle's own containers and entitlements.
    std::map<std::string, std::string> environment() const;
    std::filesystem::path voices() const { return containers() / group / "Voices"; }
    std::filesystem::path containers() const { return dir_ / "app-groups"; }
    std::filesystem::path folder() const { return dir_ / "Velmora"; }
    std::filesystem::path cache() const { return dir_ / "cache"; }
    void installPack(const std::string& releaseAndLocale, const std::string& voice,
                     std::size_t dataBytes) const;

    static constexpr const char* group = "group.cli.test";

private:
    TempDir dir_;
};

}  // namespace velmora::test
