// Thousands of damaged copies of a realistic catalog, in both forms: every one must end in a
// list of voices or in one of the catalog's reported failures, never in a crash or a read
// outside the buffer.
#include <gtest/gtest.h>
#include <plist/plist.h>

#include <cstdlib>
#include <random>

#include "CatalogFixture.h"
#include "enhanced/EnhancedVoiceCatalog.h"

namespace velmora::test {
namespace {

std::string binaryForm(const std::string& xml) {
    plist_t root = nullptr;
    plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &root);
    char* binary = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(root, &binary, &length);
    plist_free(root);
    std::string result(binary, length);
    std::free(binary);
    return result;
}

std::string damage(std::string bytes, std::mt19937& random) {
    const auto kind = random() % 4;
    if (kind != 0) {
        const auto flips = 1 + random() % 4;
        for (unsigned i = 0; i < flips; ++i)
            bytes[random() % bytes.size()] ^= static_cast<char>(1 + random() % 255);
    }
    if (kind == 0 || kind == 3) bytes.resize(random() % bytes.size());
    return bytes;
}

TEST(CatalogFuzzTest, DamagedCatalogsParseOrFailCleanly) {
    AssetSpec other;
    other.format = "5";
    other.language = "ja-JP";
    const std::string xml = catalogXml({assetXml({}), assetXml(other)});
    std::mt19937 random(20240611);
    int parsed = 0;
    for (const std::string& good : {xml, binaryForm(xml)}) {
        for (int round = 0; round < 1500; ++round) {
            const std::string damaged = damage(good, random);
            // A fresh allocation of the exact size, so the sanitizer sees any read past the end.
            const std::vector<std::byte> bytes(
                reinterpret_cast<const std::byte*>(damaged.data()),
                reinterpret_cast<const std::byte*>(damaged.data()) + damaged.size());
            try {
                const auto voices = EnhancedVoiceCatalog::parse(bytes);
                EXPECT_LE(voices.size(), 2u);
                ++parsed;
            } catch (const EnhancedVoiceCatalog::Failure&) {
            } catch (const EnhancedVoiceCatalog::NotAPropertyList&) {
            }
        }
    }
    EXPECT_GT(parsed, 0) << "no damaged copy survived: the damage is too coarse to reach the asset rules";
}

}  // namespace
}  // namespace velmora::test
