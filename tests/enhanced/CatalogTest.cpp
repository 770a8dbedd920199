#include <gtest/gtest.h>
#include <plist/plist.h>

#include <cstdlib>

#include "CatalogFixture.h"
#include "EnhancedWorld.h"
#include "LoopbackServer.h"
#include "TlsFixture.h"
#include "enhanced/EnhancedVoiceCatalog.h"
#include "enhanced/TransferFailure.h"

namespace velmora::test {
namespace {

std::vector<EnhancedVoice> parseText(const std::string& text) {
    return EnhancedVoiceCatalog::parse(std::as_bytes(std::span(text.data(), text.size())));
}

std::vector<std::string> ids(const std::vector<EnhancedVoice>& voices) {
    std::vector<std::string> result;
    for (const auto& voice : voices) result.push_back(voice.id());
    return result;
}

// The asset with one key's value replaced, or the key removed when `value` is empty.
std::string assetWith(const std::string& key, const std::string& value) {
    Entries entries = assetEntries({});
    std::erase_if(entries, [&](const auto& entry) { return entry.first == key; });
    if (!value.empty()) entries.emplace_back(key, value);
    return dictXml(entries);
}

TEST(CatalogTest, AssetBecomesVoiceWithEveryField) {
    AssetSpec spec;
    spec.digest = sha1Of("archive");
    const auto voices = parseText(catalogXml({assetXml(spec)}));
    ASSERT_EQ(voices.size(), 1u);
    const EnhancedVoice& voice = voices[0];
    EXPECT_EQ(voice.release, *VoiceRelease::named("ios6"));
    EXPECT_EQ(voice.id(), "ios6/en-US");
    EXPECT_EQ(voice.downloadSize, 1000);
    EXPECT_EQ(voice.installedSize, 4000);
    EXPECT_EQ(voice.url, "https://example.invalid/voices/ios6/en-US.zip");
    EXPECT_EQ(voice.digest, sha1Of("archive"));
    EXPECT_EQ(voice.masteredVersion, "5.0.1");
}

TEST(CatalogTest, AssetsWithAFaultAreSkipped) {
    const struct {
        const char* name;
        std::string asset;
    } cases[] = {
        {"format version 1", assetWith("FormatVersion", stringValue("1"))},
        {"format version 2", assetWith("FormatVersion", stringValue("2"))},
        {"format version 6", assetWith("FormatVersion", stringValue("6"))},
        {"format version as a number", assetWith("FormatVersion", integerValue(4))},
        {"no format version", assetWith("FormatVersion", "")},
        {"no language", assetWith("Language", "")},
        {"language as data", assetWith("Language", dataValue(bytesOf("en-US")))},
        {"no base address", assetWith("__BaseURL", "")},
        {"no relative path", assetWith("__RelativePath", "")},
        {"address that is no URL", assetWith("__BaseURL", stringValue("not an address "))},
        {"no measurement", assetWith("_Measurement", "")},
        {"measurement as text", assetWith("_Measurement", stringValue("5a5a5a5a"))},
    };
    AssetSpec good;
    good.language = "fr-FR";
    for (const auto& c : cases) {
        const auto voices = parseText(catalogXml({c.asset, assetXml(good)}));
        EXPECT_EQ(ids(voices), std::vector<std::string>{"ios6/fr-FR"}) << c.name;
    }
}

TEST(CatalogTest, OptionalKeysDefaultOrConvert) {
    const struct {
        const char* name;
        std::string asset;
        std::int64_t downloadSize;
        std::int64_t installedSize;
        std::string mastered;
    } cases[] = {
        {"no download size", assetWith("_DownloadSize", ""), 0, 4000, "5.0.1"},
        {"download size as text", assetWith("_DownloadSize", stringValue("12")), 0, 4000, "5.0.1"},
        {"real download size truncated", assetWith("_DownloadSize", realValue(1234.9)), 1234, 4000, "5.0.1"},
        {"negative real truncated towards zero", assetWith("_DownloadSize", realValue(-7.8)), -7, 4000,
         "5.0.1"},
        {"no installed size", assetWith("_UnarchivedSize", ""), 1000, 0, "5.0.1"},
        {"no mastered version", assetWith("_MasteredVersion", ""), 1000, 4000, ""},
        {"mastered version as a number", assetWith("_MasteredVersion", integerValue(5)), 1000, 4000, ""},
    };
    for (const auto& c : cases) {
        const auto voices = parseText(catalogXml({c.asset}));
        ASSERT_EQ(voices.size(), 1u) << c.name;
        EXPECT_EQ(voices[0].downloadSize, c.downloadSize) << c.name;
        EXPECT_EQ(voices[0].installedSize, c.installedSize) << c.name;
        EXPECT_EQ(voices[0].masteredVersion, c.mastered) << c.name;
    }
}

TEST(CatalogTest, AddressIsThePlainConcatenation) {
    const struct {
        const char* base;
        const char* relative;
        const char* url;
    } cases[] = {
        {"https://h.invalid/a/", "b/c.zip", "https://h.invalid/a/b/c.zip"},
        {"https://h.invalid/a", "b/c.zip", "https://h.invalid/ab/c.zip"},
        {"https://h.invalid/a/", "/b/c.zip", "https://h.invalid/a//b/c.zip"},
    };
    for (const auto& c : cases) {
        AssetSpec spec;
        spec.base = c.base;
        spec.relative = c.relative;
        const auto voices = parseText(catalogXml({assetXml(spec)}));
        ASSERT_EQ(voices.size(), 1u) << c.base;
        EXPECT_EQ(voices[0].url, c.url);
    }
}

AssetSpec voiceSpec(const char* format, const char* language, const char* mastered = "1") {
    AssetSpec spec;
    spec.format = format;
    spec.language = language;
    spec.mastered = mastered;
    return spec;
}

TEST(CatalogTest, VoicesComeInDisplayOrder) {
    // The compact data names ios6 en-AU "daniel" and en-GB "DANIEL", ios5 en-US "Samantha";
    // ios5 fr-FR and de-DE have no compact voice and are named by their languages.
    const auto voices = parseText(catalogXml({
        assetXml(voiceSpec("5", "en-US")),
        assetXml(voiceSpec("4", "en-GB")),
        assetXml(voiceSpec("4", "en-AU")),
        assetXml(voiceSpec("3", "en-US")),
        assetXml(voiceSpec("3", "de-DE")),
        assetXml(voiceSpec("3", "fr-FR")),
    }));
    EXPECT_EQ(ids(voices), (std::vector<std::string>{"ios5/fr-FR", "ios5/de-DE", "ios5/en-US", "ios6/en-AU",
                                                     "ios6/en-GB", "ios7/en-US"}));
}

TEST(CatalogTest, EqualVoicesKeepCatalogOrder) {
    const auto voices = parseText(catalogXml(
        {assetXml(voiceSpec("4", "it-IT", "first")), assetXml(voiceSpec("4", "it-IT", "second"))}));
    ASSERT_EQ(voices.size(), 2u);
    EXPECT_EQ(voices[0].masteredVersion, "first");
    EXPECT_EQ(voices[1].masteredVersion, "second");
}

TEST(CatalogTest, BinaryFormGivesTheSameVoices) {
    const std::string xml =
        catalogXml({assetXml(voiceSpec("5", "en-US")), assetXml(voiceSpec("3", "de-DE"))});
    plist_t root = nullptr;
    plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &root);
    ASSERT_NE(root, nullptr);
    char* binary = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(root, &binary, &length);
    plist_free(root);
    const std::string binaryText(binary, length);
    std::free(binary);
    EXPECT_EQ(binaryText.substr(0, 6), "bplist");
    EXPECT_EQ(parseText(binaryText), parseText(xml));
}

TEST(CatalogTest, DocumentShapeFaults) {
    const std::string header = "<?xml version=\"1.0\"?><plist version=\"1.0\">";
    const struct {
        const char* name;
        std::string body;
    } unreadable[] = {
        {"root is an array", header + "<array><dict/></array></plist>"},
        {"no Assets", header + "<dict><key>Other</key><array/></dict></plist>"},
        {"Assets is a dictionary", header + "<dict><key>Assets</key><dict/></dict></plist>"},
        {"a text among the assets", catalogXml({assetXml({}), stringValue("asset")})},
    };
    for (const auto& c : unreadable) {
        try {
            parseText(c.body);
            ADD_FAILURE() << c.name << ": parsed";
        } catch (const EnhancedVoiceCatalog::Failure& failure) {
            EXPECT_EQ(failure, EnhancedVoiceCatalog::Failure::unreadable()) << c.name;
            EXPECT_STREQ(failure.what(), "Apple's voice catalog could not be read.") << c.name;
        }
    }
    EXPECT_TRUE(parseText(header + "<dict><key>Assets</key><array/></dict></plist>").empty());
    for (const std::string body : {"", "not a property list", "<plist><dict><key>Assets</key>"}) {
        EXPECT_THROW(parseText(body), EnhancedVoiceCatalog::NotAPropertyList) << body;
    }
}

TEST(CatalogTest, AddressIsTheVendorsUnlessReplaced) {
    EXPECT_EQ(EnhancedVoiceCatalog::url(),
              "https://mesu.apple.com/assets/com_apple_MobileAsset_VoiceServicesVocalizerVoice/"
              "com_apple_MobileAsset_VoiceServicesVocalizerVoice.xml");
}

TEST(CatalogTest, FetchAcceptsOnly200) {
    const std::string catalog = catalogXml({assetXml({})});
    LoopbackServer server([&](httplib::Server& routes) {
        routes.Get("/catalog.xml", [&](const httplib::Request&, httplib::Response& response) {
            response.set_content(catalog, "application/xml");
        });
        routes.Get("/moved", [](const httplib::Request&, httplib::Response& response) {
            response.set_redirect("/catalog.xml", 301);
        });
        routes.Get(R"(/status/(\d+))", [&](const httplib::Request& request, httplib::Response& response) {
            response.status = std::stoi(request.matches[1]);
            response.set_content(catalog, "application/xml");
        });
        routes.Get("/garbage", [](const httplib::Request&, httplib::Response& response) {
            response.set_content("<html>maintenance</html>", "text/html");
        });
    });
    EXPECT_EQ(ids(EnhancedVoiceCatalog::fetch(server.url("/catalog.xml"))),
              std::vector<std::string>{"ios6/en-US"});
    EXPECT_EQ(ids(EnhancedVoiceCatalog::fetch(server.url("/moved"))), std::vector<std::string>{"ios6/en-US"});
    for (long status : {206L, 304L, 404L, 500L}) {
        try {
            EnhancedVoiceCatalog::fetch(server.url("/status/" + std::to_string(status)));
            ADD_FAILURE() << status << " accepted";
        } catch (const EnhancedVoiceCatalog::Failure& failure) {
            EXPECT_EQ(failure, EnhancedVoiceCatalog::Failure::badResponse(status));
            EXPECT_EQ(failure.what(),
                      "Apple's voice catalog answered with HTTP " + std::to_string(status) + ".");
        }
    }
    EXPECT_THROW(EnhancedVoiceCatalog::fetch(server.url("/garbage")), EnhancedVoiceCatalog::NotAPropertyList);
}

TEST(CatalogTest, FetchFailsWithTheTransfersError) {
    try {
        EnhancedVoiceCatalog::fetch(LoopbackServer::closedUrl("/catalog.xml"));
        ADD_FAILURE() << "fetched from a closed port";
    } catch (const TransferFailure& failure) {
        EXPECT_EQ(failure.kind(), TransferFailure::Kind::cannotConnect);
        EXPECT_STREQ(failure.what(), "Could not connect to the server.");
    }
    std::stop_source stop;
    stop.request_stop();
    try {
        EnhancedVoiceCatalog::fetch(LoopbackServer::closedUrl("/catalog.xml"), stop.get_token());
        ADD_FAILURE() << "a cancelled fetch went on";
    } catch (const TransferFailure& failure) {
        EXPECT_EQ(failure.kind(), TransferFailure::Kind::cancelled);
    }
}

TEST(CatalogTest, MirrorIsTrustedThroughTheExtraCertificateAuthority) {
    const auto folder = EnhancedWorld::scratch();
    const TlsIdentity identity = makeSelfSignedIdentity(folder);
    const std::string catalog = catalogXml({assetXml({})});
    LoopbackServer mirror(
        [&](httplib::Server& routes) {
            routes.Get("/catalog.xml", [&](const httplib::Request&, httplib::Response& response) {
                response.set_content(catalog, "application/xml");
            });
        },
        identity);
    const struct {
        const char* name;
        std::string caFile;
        bool trusted;
    } cases[] = {
        {"system authorities only", "", false},
        {"the mirror's authority added", identity.certificate.string(), true},
        {"an authority file that is missing", (folder / "missing.pem").string(), false},
    };
    for (const auto& c : cases) {
        if (c.caFile.empty()) {
            ::unsetenv("VELMORA_CA_FILE");
        } else {
            ::setenv("VELMORA_CA_FILE", c.caFile.c_str(), 1);
        }
        try {
            EXPECT_EQ(EnhancedVoiceCatalog::fetch(mirror.url("/catalog.xml")).size(), 1u) << c.name;
            EXPECT_TRUE(c.trusted) << c.name << ": fetched";
        } catch (const TransferFailure& failure) {
            EXPECT_FALSE(c.trusted) << c.name << ": " << failure.what() << " " << failure.detail();
            EXPECT_EQ(failure.kind(), TransferFailure::Kind::insecure) << c.name;
            EXPECT_STREQ(failure.what(), "A secure connection to the server could not be made.");
        }
    }
    ::unsetenv("VELMORA_CA_FILE");
}

}  // namespace
}  // namespace velmora::test
