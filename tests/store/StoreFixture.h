#pragma once

#include <gtest/gtest.h>

#include <filesystem>

#include "store/VoiceStore.h"
#include "support/Files.h"
#include "support/TestWorld.h"

namespace velmora::test {

// The process-wide container and compact data that StoreTestMain sets up before any test runs.
struct StoreWorld {
    static std::filesystem::path container() { return TestWorld::container("group.test.velmora"); }
    static std::filesystem::path compactResources() { return TestWorld::compactResources(); }
    static std::filesystem::path voices() { return container() / "Voices"; }
};

// Every test starts with no Voices folder in the container.
class StoreTest : public ::testing::Test {
protected:
    void SetUp() override { std::filesystem::remove_all(StoreWorld::voices()); }
    void TearDown() override { std::filesystem::remove_all(StoreWorld::voices()); }

    static std::filesystem::path pack(const char* release, const char* locale) {
        return StoreWorld::voices() / release / locale;
    }
    static void installPack(const char* release, const char* locale, std::string_view voice) {
        writeFile(pack(release, locale) / "broker.hdr", brokerHeader(voice));
    }
};

}  // namespace velmora::test
