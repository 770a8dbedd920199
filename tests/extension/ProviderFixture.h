#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "ProviderClient.h"
#include "store/VoiceRelease.h"

namespace velmora::test {

// The provider's bundle in the build tree, and the container this test process and the
// provider it activates share (set up by the test main before the bus starts the provider).
struct ProviderWorld {
    static std::filesystem::path appexResources();
    static void prepare();
};

// Samples are compared whole; these summarise them for the failure messages.
double seconds(const std::vector<std::int16_t>& samples);
double peak(const std::vector<std::int16_t>& samples);

// A test that talks to the provider and may install packs in the shared container; every pack
// it installs is removed again when the test ends.
class ProviderTest : public ::testing::Test {
protected:
    ~ProviderTest() override;

    static VoiceRelease release(const std::string& name);
    // The identifier of the compact voice of `release` and `locale`.
    static std::string voiceId(const std::string& releaseName, const std::string& locale);

    // A pack whose header names `voice` and whose voice data is `data`.
    std::filesystem::path installPack(const std::string& releaseName, const std::string& locale,
                                      const std::string& data = "enhanced voice data");
    void removePack(const std::string& releaseName, const std::string& locale);

    // Speaks and expects the stream to end; fails the test (and returns nothing) when it does not.
    std::vector<std::int16_t> speak(const ProviderClient::Request& request);

    ProviderClient client;

private:
    std::vector<std::filesystem::path> packs_;
};

}  // namespace velmora::test
