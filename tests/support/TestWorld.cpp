#include "support/TestWorld.h"

#include <sdbus-c++/sdbus-c++.h>
#include <unicode/locid.h>

#include <cstdlib>
#include <map>

#include "support/Entitlement.h"
#include "support/Files.h"

namespace velmora::test {
namespace fs = std::filesystem;
namespace {

// Sets `variables` in this process and in the session bus's activation environment, so that a
// provider the bus starts on demand sees the same folders as the test.
void shareWithActivatedServices(const std::map<std::string, std::string>& variables) {
    for (const auto& [name, value] : variables) ::setenv(name.c_str(), value.c_str(), 1);
    auto connection = sdbus::createSessionBusConnection();
    sdbus::createProxy(*connection, "org.freedesktop.DBus", "/org/freedesktop/DBus")
        ->callMethod("UpdateActivationEnvironment")
        .onInterface("org.freedesktop.DBus")
        .withArguments(variables);
}

}  // namespace

const fs::path& TestWorld::folder() {
    static const TempDir dir;
    return dir.path();
}

void TestWorld::entitle(std::string_view group) { entitleProcess(folder(), group); }

// The test executable's folder is its bundle, whose first plug-in's resources the store reads.
fs::path TestWorld::compactResources() {
    return fs::read_symlink("/proc/self/exe").parent_path() / "PlugIns/Fixture.appex/Resources";
}

void TestWorld::writeCompactData(const CompactFiles& files) {
    fs::remove_all(compactResources().parent_path());
    for (const auto& [relative, contents] : files) writeFile(compactResources() / relative, contents);
}

void TestWorld::useUsEnglish() {
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale::setDefault(icu::Locale("en", "US"), status);
}

void TestWorld::shareWithBus(const fs::path& entitlements) {
    fs::create_directories(folder() / "tmp");
    if (entitlements.empty()) {
        ::unsetenv("VELMORA_ENTITLEMENTS");
    } else {
        ::setenv("VELMORA_ENTITLEMENTS", entitlements.c_str(), 1);
    }
    shareWithActivatedServices({{"VELMORA_APP_GROUPS_ROOT", (folder() / "app-groups").string()},
                                {"XDG_DATA_HOME", (folder() / "data").string()},
                                {"TMPDIR", (folder() / "tmp").string()}});
}

}  // namespace velmora::test
