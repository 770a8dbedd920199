// The provider's confinement, applied to this test process (it cannot be undone, so the checks
// share one process and one test).
#include "Confinement.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <string>

#include "support/Files.h"

namespace velmora::provider {
namespace {

std::string statusField(const std::string& field) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(field + ":")) return line.substr(line.find_first_not_of(" \t", field.size() + 1));
    }
    return {};
}

TEST(ConfinementTest, DropsCapabilitiesForbidsNewPrivilegesAndRefusesInternetSockets) {
    test::TempDir folder;
    const auto secret = folder / "broker.hdr";
    test::writeFile(secret, "<voice>Samantha</voice>");
    std::filesystem::permissions(secret, std::filesystem::perms::none);

    confineProcess();

    for (const char* set : {"CapInh", "CapPrm", "CapEff", "CapBnd", "CapAmb"}) {
        EXPECT_EQ(statusField(set), "0000000000000000") << set;
    }
    EXPECT_EQ(statusField("NoNewPrivs"), "1");
    EXPECT_FALSE(std::ifstream(secret).is_open()) << "a header at permissions 0 is still readable";

    for (const int family : {AF_INET, AF_INET6}) {
        errno = 0;
        EXPECT_EQ(::socket(family, SOCK_STREAM, 0), -1) << family;
        EXPECT_EQ(errno, EACCES) << family;
    }
    const int local = ::socket(AF_UNIX, SOCK_STREAM, 0);
    EXPECT_GE(local, 0) << "local sockets, which the session bus needs, are refused";
    if (local >= 0) ::close(local);
}

}  // namespace
}  // namespace velmora::provider
