#pragma once

#include <filesystem>

namespace velmora::test {

// The process-wide container and compact data that the test main sets up before any test runs.
struct EnhancedWorld {
    static const std::filesystem::path& container();
    static std::filesystem::path voices() { return container() / "Voices"; }
    static std::filesystem::path staging() { return voices() / ".staging"; }
    // A folder for a test's own files, emptied before each test that asks.
    static std::filesystem::path scratch();
};

}  // namespace velmora::test
