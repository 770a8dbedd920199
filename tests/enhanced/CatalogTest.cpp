#include <gtest/gtest.h>
#include <plist/plist.h>

#include <cstdlib>

#include "Fixtures.h"
#include "enhanced/EnhancedVoiceCatalog.h"

namespace velmora::test {
namespace {

std::vector<EnhancedVoice> parse(const std::string& text) {
    return EnhancedVoiceCatalog::parse(std::as_bytes(std::span(text.data(), text.size())));
}

// The voices' ids, space-separated, or the error's text.
std::string parsed(const std::string& text) {
    try {
        std::string ids;
        for (const auto& voice : parse(text)) ids += (ids.empty() ? "" : " ") + voice.id();
        return ids;
    } catch (const std::exception& error) {
        return error.what();
    }
}

TEST(CatalogTest, AssetsBecomeVoicesInBothForms) {
    const std::vector<std::byte> shortDigest(16, std::byte{1});
    const std::string xml = catalogXml(
        {assetXml("4", "en-US", {{"_Measurement", dataValue(sha1Of("archive"))}}),
         assetXml("5", "fr-FR", {{"_Measurement", dataValue(shortDigest)}, {"_UnarchivedSize", ""}}),
         // Joined as written, no slash added; a size that is no number counts as none.
         assetXml(
             "3", "de-DE",
             {{"__BaseURL", stringValue("https://h.invalid/a")}, {"_DownloadSize", "<string>1</string>"}})});
    const auto voices = parse(xml);
    EXPECT_EQ(voices, (std::vector<EnhancedVoice>{
                          {*VoiceRelease::named("ios5"), "de-DE", 0, 4000, "https://h.invalid/ade-DE.zip",
                           std::vector(20, std::byte{0x5a}), "5.0.1"},
                          {*VoiceRelease::named("ios6"), "en-US", 1000, 4000,
                           "https://example.invalid/voices/en-US.zip", sha1Of("archive"), "5.0.1"},
                          {*VoiceRelease::named("ios7"), "fr-FR", 1000, 0,
                           "https://example.invalid/voices/fr-FR.zip", shortDigest, "5.0.1"}}));
    plist_t root = nullptr;
    plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &root);
    char* binary = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(root, &binary, &length);
    plist_free(root);
    EXPECT_EQ(parse(std::string(binary, length)), voices);
    std::free(binary);
}

TEST(CatalogTest, AssetsWithAFaultAreSkipped) {
    const std::pair<const char*, std::string> cases[] = {
        {"FormatVersion", stringValue("2")},  // a release without downloads
        {"FormatVersion", stringValue("6")},
        {"FormatVersion", "<integer>4</integer>"},
        {"FormatVersion", ""},
        {"Language", ""},
        {"Language", dataValue(sha1Of("en-US"))},
        {"__BaseURL", ""},
        {"__BaseURL", stringValue("not an address ")},
        {"__RelativePath", ""},
        {"_Measurement", ""},
        {"_Measurement", stringValue("5a5a5a5a")}};
    for (const auto& [key, value] : cases)
        EXPECT_EQ(parsed(catalogXml({assetXml("4", "en-US", {{key, value}}), assetXml("4", "fr-FR")})),
                  "ios6/fr-FR")
            << key << " " << value;
}

TEST(CatalogTest, VoicesComeInDisplayOrder) {
    // By release, then by the compact data's voice name lower-cased (ios6 en-AU "daniel", en-GB
    // "DANIEL", ios5 en-US "Samantha") or else the language's, then by the language's name;
    // equal voices keep the catalog's order.
    const std::string xml = catalogXml(
        {assetXml("5", "en-US"), assetXml("4", "it-IT", {{"_MasteredVersion", stringValue("first")}}),
         assetXml("4", "en-GB"), assetXml("4", "en-AU"), assetXml("4", "it-IT"), assetXml("3", "en-US"),
         assetXml("3", "de-DE"), assetXml("3", "fr-FR")});
    EXPECT_EQ(parsed(xml),
              "ios5/fr-FR ios5/de-DE ios5/en-US ios6/en-AU ios6/en-GB ios6/it-IT ios6/it-IT ios7/en-US");
    EXPECT_EQ(parse(xml).at(5).masteredVersion, "first");
}

TEST(CatalogTest, DocumentsWithoutAssetsAreFailures) {
    const std::string header = "<?xml version=\"1.0\"?><plist version=\"1.0\">";
    for (const std::string& body :
         {header + "<array><dict/></array></plist>", header + "<dict><key>Other</key><array/></dict></plist>",
          header + "<dict><key>Assets</key><dict/></dict></plist>",
          catalogXml({assetXml("4", "en-US"), stringValue("asset")})})
        EXPECT_EQ(parsed(body), "Apple's voice catalog could not be read.") << body;
    EXPECT_EQ(parsed(header + "<dict><key>Assets</key><array/></dict></plist>"), "");
    for (const std::string body : {"", "not a property list", "<plist><dict><key>Assets</key>"})
        EXPECT_THROW(parse(body), EnhancedVoiceCatalog::NotAPropertyList) << body;
}

}  // namespace
}  // namespace velmora::test
