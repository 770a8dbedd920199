#include "app/SelfTestSuites.h"

#include <algorithm>

#include "selftest/EnhancedSelfTest.h"
#include "selftest/SelfTest.h"

namespace velmora {
namespace {

constexpr const char* speechFlag = "-selftest";
constexpr const char* enhancedFlag = "-selftest-enhanced";

bool contains(const std::vector<std::string>& arguments, const char* flag) {
    return std::ranges::find(arguments, flag) != arguments.end();
}

}  // namespace

SelfTestSuites SelfTestSuites::program(std::stop_token stop) {
    return {[stop] { SelfTest::run(SelfTestServices::system(stop)); },
            [stop](const std::vector<std::string>& arguments) {
                EnhancedSelfTest::run(arguments, EnhancedSelfTestServices::system(stop));
            }};
}

bool wantsSelfTests(const std::vector<std::string>& arguments) {
    return contains(arguments, speechFlag) || contains(arguments, enhancedFlag);
}

bool runSelfTests(const SelfTestSuites& suites, const std::vector<std::string>& arguments) {
    if (!wantsSelfTests(arguments)) return false;
    if (contains(arguments, speechFlag) && suites.speech) suites.speech();
    if (contains(arguments, enhancedFlag) && suites.enhanced) suites.enhanced(arguments);
    return true;
}

}  // namespace velmora
