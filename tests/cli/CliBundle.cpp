#include "CliBundle.h"

#include "support/Entitlement.h"

namespace velmora::test {
namespace fs = std::filesystem;

CliBundle::CliBundle() {
    fs::create_directories(folder());
    fs::copy_file(VELMORA_CLI, folder() / "velmora-cli");
    writeFile(folder() / "Resources/velmora.entitlements", entitlementsNaming(group));
    const fs::path compact = folder() / "PlugIns/Test.appex/Resources/ios5/TTSResources/en-US";
    writeFile(compact / "broker.hdr", brokerHeader("Samantha"));
    writeFile(compact / "user_rules.txt", "rules");
    writeFile(compact / "en_userdct.dat", "dictionary");
}

ProcessResult CliBundle::run(const std::vector<std::string>& arguments) const {
    return runProcess(folder() / "velmora-cli", arguments, environment());
}

std::map<std::string, std::string> CliBundle::environment() const {
    return {{"VELMORA_APP_GROUPS_ROOT", containers().string()},
            {"VELMORA_ENTITLEMENTS", ""},
            {"XDG_CACHE_HOME", cache().string()}};
}

void CliBundle::installPack(const std::string& releaseAndLocale, const std::string& voice,
                            std::size_t dataBytes) const {
    writeFile(voices() / releaseAndLocale / "broker.hdr", brokerHeader(voice));
    writeFile(voices() / releaseAndLocale / "voice.dat", std::string(dataBytes, 'v'));
}

}  // namespace velmora::test
