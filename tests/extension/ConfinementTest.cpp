// The provider's confinement, applied to this test process (it cannot be undone, so the checks
// share one process and one test).
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>

#include "Confinement.h"
#include "support/Files.h"

namespace velmora::provider {
namespace {

TEST(ConfinementTest, DropsCapabilitiesForbidsNewPrivilegesAndRefusesInternetSockets) {
    test::TempDir folder;
    const auto secret = folder / "broker.hdr";
    test::writeFile(secret, "<voice>Samantha</voice>");
    std::filesystem::permissions(secret, std::filesystem::perms::none);

    confineProcess();

    const std::string status = test::readFile("/proc/self/status");
    for (const std::string set : {"CapInh", "CapPrm", "CapEff", "CapBnd", "CapAmb"}) {
        EXPECT_NE(status.find(set + ":\t0000000000000000\n"), std::string::npos) << set;
    }
    EXPECT_NE(status.find("NoNewPrivs:\t1\n"), std::string::npos);
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
