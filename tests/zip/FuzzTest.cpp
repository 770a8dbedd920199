// A thousand damaged copies of a good archive: every one must end in a result or in a reported
// failure, never in a crash, a read outside the buffer or a write outside the folder.
#include <gtest/gtest.h>

#include <random>

#include "support/Files.h"
#include "zip/Fixtures.h"
#include "zip/ZipReader.h"

namespace velmora {
namespace {

namespace fs = std::filesystem;
using namespace test;

TEST(ZipFuzz, DamagedArchivesFailCleanly) {
    const std::string good = handZip({{"broker.hdr.asset", brokerHeader("Tom")},
                                      {"data/", ""},
                                      {"data/units.dat", patterned(3000, 11), 6},
                                      {"data/fixed.dat", std::string(500, 'a') + "tail", 1}})
                                 .bytes;
    TempDir dir;
    std::mt19937 random(20261122);
    int unpacked = 0;
    for (int round = 0; round < 1000; ++round) {
        std::string bytes = good;
        const auto kind = random() % 4;  // 0: cut, 1 and 2: flipped, 3: both
        for (auto flips = kind == 0 ? 0 : 1 + random() % 3; flips > 0; --flips) {
            bytes[random() % bytes.size()] ^= static_cast<char>(1 + random() % 255);
        }
        if (kind == 0 || kind == 3) bytes.resize(random() % bytes.size());
        // A fresh allocation of the exact size, so the sanitizer sees any read past the end.
        const std::vector<std::byte> archive(asBytes(bytes).begin(), asBytes(bytes).end());
        fs::remove_all(dir / "out");
        try {
            ZipReader::unpack(archive, dir / "out" / "in");
            ++unpacked;
        } catch (const ZipReader::Failure&) {
        } catch (const fs::filesystem_error&) {
            // A damaged name may turn a file into a folder that a later name needs.
        }
        for (const auto& item : fs::directory_iterator(dir.path())) ASSERT_EQ(item.path().filename(), "out") << round;
    }
    EXPECT_GT(unpacked, 0);  // some flips land where nothing reads them
}

}  // namespace
}  // namespace velmora
