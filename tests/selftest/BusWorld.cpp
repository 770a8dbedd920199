// Points this process and the bus's activation environment at one world of their own, so that
// the provider the bus starts reads the container that velmora-cli writes.
#include "selftest/BusWorld.h"

#include <gtest/gtest.h>

#include <sstream>

namespace velmora::test {

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> result;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) result.push_back(line);
    return result;
}

}  // namespace velmora::test

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    velmora::test::TestWorld::shareWithBus();
    return RUN_ALL_TESTS();
}
