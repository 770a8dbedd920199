// velmora-cli install --from: an archive the user has is installed only when it matches the
// catalog's checksum; a catalog that cannot be read, or a web page in its place, refuses it.
#include <gtest/gtest.h>

#include <cstdlib>

#include "Fixtures.h"
#include "cli/CliBundle.h"

namespace velmora::test {
namespace {
namespace fs = std::filesystem;

TEST(InstallFromFileTest, OnlyTheArchiveTheCatalogNamesIsInstalled) {
    const std::string archive = makeZip({"voice/broker.hdr.asset", "Amelie", "voice/voice.dat", "data"});
    const std::string page = "<html><head><title>Sign in to Station WiFi</title></head><body></body></html>";
    TempDir files;
    LoopbackServer server([&](httplib::Server& s) {
        s.set_mount_point("/", files.path());
        s.Get("/portal.xml", [&](const auto&, auto& response) { response.set_content(page, "text/html"); });
    });
    const std::pair<std::string, std::string> base{"__BaseURL", stringValue(server.url("/"))};
    writeFile(files / "catalog.xml",
              catalogXml({assetXml("4", "fr-FR", {base, {"_Measurement", dataValue(sha1Of(archive))}})}));
    writeFile(files / "match.zip", archive);
    writeFile(files / "other.zip", makeZip({"voice/broker.hdr.asset", "Other"}));
    writeFile(files / "cut.zip", archive.substr(0, archive.size() / 2));
    const std::string notPublished = ": its checksum does not match. Nothing was installed.";
    // Catalog address, archive, and the error (empty: installed).
    const std::tuple<std::string, std::string, std::string> cases[] = {
        {"/catalog.xml", "other.zip",
         "ios6/fr-FR: other.zip is not the archive Apple published for ios6/fr-FR" + notPublished},
        {"/catalog.xml", "cut.zip",
         "ios6/fr-FR: cut.zip is not the archive Apple published for ios6/fr-FR" + notPublished},
        {"/portal.xml", "match.zip",
         "An archive is installed only when Apple's voice catalog can be read, because the archive "
         "must match the checksum published there. The catalog could not be read: Apple's voice "
         "catalog was answered by a web page titled \"Sign in to Station WiFi\" (Content-Type: "
         "text/html), not the catalog. A captive portal, a proxy or a login page may be in the way: "
         "sign in to the network in a web browser, then try again."},
        {"/catalog.xml", "match.zip", ""},
    };
    CliBundle bundle;
    for (const auto& [catalog, file, error] : cases) {
        ::setenv("VELMORA_CATALOG_URL", server.url(catalog).c_str(), 1);
        const auto result = bundle.run({"install", "--from", (files / file).string(), "ios6/fr-FR"});
        EXPECT_EQ(result.err, error.empty() ? "" : "velmora-cli: " + error + "\n") << file;
        EXPECT_EQ(fs::exists(bundle.voices() / "ios6/fr-FR/broker.hdr"), error.empty()) << file;
        EXPECT_TRUE(fs::exists(files / file));
    }
    EXPECT_EQ(readFile(bundle.voices() / "ios6/fr-FR/broker.hdr"), "Amelie");
}

}  // namespace
}  // namespace velmora::test
