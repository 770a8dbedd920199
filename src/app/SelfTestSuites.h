#pragma once

#include <functional>
#include <stop_token>
#include <string>
#include <vector>

namespace velmora {

// The built-in self-test suites as the entry starts them: `speech` for "-selftest", `enhanced`
// (given the whole argument list) for "-selftest-enhanced". An empty member runs nothing.
struct SelfTestSuites {
    std::function<void()> speech;
    std::function<void(const std::vector<std::string>& arguments)> enhanced;

    // The speech and the enhanced self test; `stop` cancels the enhanced test's catalog fetch or
    // download, so closing the window does not wait for a whole voice to arrive.
    static SelfTestSuites program(std::stop_token stop);
};

// Runs, in this order and each at most once, the speech suite when the arguments hold
// "-selftest" and the enhanced suite when they hold "-selftest-enhanced" (whole, case-sensitive
// arguments, anywhere). Returns whether either flag was there. Blocks while the suites run.
bool runSelfTests(const SelfTestSuites& suites, const std::vector<std::string>& arguments);

// Whether the arguments ask for any suite.
bool wantsSelfTests(const std::vector<std::string>& arguments);

}  // namespace velmora
