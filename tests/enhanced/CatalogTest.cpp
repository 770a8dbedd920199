#include <gtest/gtest.h>

#include "Fixtures.h"
#include "enhanced/EnhancedVoiceCatalog.h"
#include "support/Files.h"
#include "support/Process.h"

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
    // Addresses are joined as written, with no slash added; a size that is no number counts as none.
    const std::string xml =
        catalogXml({assetXml("4", "en-US", {{"_Measurement", dataValue(sha1Of("archive"))}}),
                    assetXml("5", "fr-FR",
                             {{"_Measurement", dataValue(shortDigest)},
                              {"_UnarchivedSize", ""},
                              {"__BaseURL", stringValue("https://h.invalid/a")},
                              {"_DownloadSize", "<true/>"}})});
    const auto voices = parse(xml);
    EXPECT_EQ(voices, (std::vector<EnhancedVoice>{
                          {*VoiceRelease::named("ios6"), "en-US", 1000, 4000,
                           "https://example.invalid/voices/en-US.zip", sha1Of("archive"), "5.0.1"},
                          {*VoiceRelease::named("ios7"), "fr-FR", 0, 0, "https://h.invalid/afr-FR.zip",
                           shortDigest, "5.0.1"},
                      }));
    const std::string toBinary =
        "import plistlib, sys; sys.stdout.buffer.write(plistlib.dumps("
        "plistlib.loads(sys.argv[1].encode()), fmt=plistlib.FMT_BINARY))";
    EXPECT_EQ(parse(runProcess("/usr/bin/python3", {"-c", toBinary, xml}).out), voices);
}

TEST(CatalogTest, FaultyAssetsAreSkippedAndDocumentsWithoutAssetsFail) {
    const std::pair<const char*, std::string> changes[] = {
        {"FormatVersion", stringValue("2")},  // a release without downloads
        {"FormatVersion", stringValue("6")},
        {"FormatVersion", "<integer>4</integer>"},
        {"FormatVersion", ""},
        {"Language", ""},
        {"Language", dataValue(sha1Of("en-US"))},
        {"Language", stringValue("en/US")},  // not one plain name: no folder could hold the pack
        {"Language", stringValue("..")},
        {"Language", stringValue("")},
        {"__BaseURL", ""},
        {"__BaseURL", stringValue("not an address ")},
        {"__RelativePath", ""},
        {"_Measurement", ""},
        {"_Measurement", stringValue("5a5a5a5a")}};
    for (const auto& [key, value] : changes) {
        const std::string xml = catalogXml({assetXml("4", "en-US", {{key, value}}), assetXml("4", "fr-FR")});
        EXPECT_EQ(parsed(xml), "ios6/fr-FR") << key << " " << value;
    }
    const std::string plist = "<?xml version=\"1.0\"?><plist version=\"1.0\">";
    for (const std::string& body :
         {plist + "<array><dict/></array></plist>", plist + "<dict><key>Assets</key><dict/></dict></plist>",
          catalogXml({assetXml("4", "en-US"), stringValue("asset")})})
        EXPECT_EQ(parsed(body), "Apple's voice catalog could not be read.") << body;
}

TEST(CatalogTest, VoicesComeInDisplayOrder) {
    // By release, by the compact data's voice name lower-cased (ios6 en-AU "daniel", en-GB "DANIEL",
    // ios5 en-US "Samantha") or else the language's, by the language's; ties keep catalog order.
    const std::string xml = catalogXml(
        {assetXml("5", "en-US"), assetXml("4", "it-IT", {{"_MasteredVersion", stringValue("first")}}),
         assetXml("4", "en-GB"), assetXml("4", "en-AU"), assetXml("4", "it-IT"), assetXml("3", "en-US"),
         assetXml("3", "de-DE"), assetXml("3", "fr-FR")});
    EXPECT_EQ(parsed(xml),
              "ios5/fr-FR ios5/de-DE ios5/en-US ios6/en-AU ios6/en-GB ios6/it-IT ios6/it-IT "
              "ios7/en-US");
    EXPECT_EQ(parse(xml).at(5).masteredVersion, "first");
}

TEST(CatalogTest, AMirrorOverHttpsIsTrustedOnlyWithItsAuthorityAdded) {
    TempDir folder;
    const TlsIdentity identity = TlsIdentity::create(folder.path());
    const std::string catalog = catalogXml({assetXml("4", "en-US")});
    LoopbackServer mirror(
        [&](httplib::Server& routes) {
            routes.Get("/catalog.xml", [&](const httplib::Request&, httplib::Response& response) {
                response.set_content(catalog, "application/xml");
            });
        },
        &identity);
    const auto fetched = [&](const std::string& caFile) {
        ::setenv("VELMORA_CA_FILE", caFile.c_str(), 1);
        try {
            return EnhancedVoiceCatalog::fetch(mirror.url("/catalog.xml")).at(0).id();
        } catch (const std::exception& error) {
            return std::string(error.what());
        }
    };
    EXPECT_EQ(fetched(""), "A secure connection to the server could not be made.") << "unknown authority";
    EXPECT_EQ(fetched(identity.certificate.string()), "ios6/en-US");
    EXPECT_NE(fetched((folder / "missing.pem").string()), "ios6/en-US");
    ::unsetenv("VELMORA_CA_FILE");
}

}  // namespace
}  // namespace velmora::test
