// Points this process and the bus's activation environment at one folder of their own, so that
// the provider the bus starts reads the container that velmora-cli writes.
#include "selftest/BusWorld.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>

#include "support/BusEnvironment.h"
#include "support/Files.h"

namespace velmora::test {

const std::filesystem::path& busWorld() {
    static const TempDir world;
    return world.path();
}

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> result;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) result.push_back(line);
    return result;
}

}  // namespace velmora::test

int main(int argc, char** argv) {
    using velmora::test::busWorld;
    ::testing::InitGoogleTest(&argc, argv);
    std::filesystem::create_directories(busWorld() / "tmp");
    const std::map<std::string, std::string> shared{
        {"VELMORA_APP_GROUPS_ROOT", (busWorld() / "app-groups").string()},
        {"XDG_DATA_HOME", (busWorld() / "data").string()},
        {"TMPDIR", (busWorld() / "tmp").string()}};
    ::unsetenv("VELMORA_ENTITLEMENTS");
    velmora::test::shareWithActivatedServices(shared);
    return RUN_ALL_TESTS();
}
