#include <gtest/gtest.h>

#include "enhanced/BackgroundSha1.h"
#include "enhanced/DownloadJob.h"
#include "enhanced/EnhancedVoiceCatalog.h"
#include "enhanced/HttpTransfer.h"
#include "support/Files.h"
#include "support/Process.h"
#include "support/ServedCatalog.h"
#include "support/TestWorld.h"

namespace velmora::test {
namespace {
namespace fs = std::filesystem;

std::vector<EnhancedVoice> parse(const std::string& text) {
    return EnhancedVoiceCatalog::parse(std::as_bytes(std::span(text.data(), text.size())));
}

// The voices' ids, space-separated, or the error's text.
std::string parsed(const std::string& text) {
    std::string ids;
    const std::string error = errorOf([&] {
        for (const auto& voice : parse(text)) ids += (ids.empty() ? "" : " ") + voice.id();
    });
    return error.empty() ? ids : error;
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
        {"FormatVersion", stringValue("6")},
        {"FormatVersion", "<integer>4</integer>"},  // a string or nothing
        {"Language", ""},
        {"Language", stringValue("en/US")},  // not one plain name: no folder could hold the pack
        {"__BaseURL", ""},
        {"__BaseURL", stringValue("not an address ")},
        {"__RelativePath", ""},
        {"_Measurement", stringValue("5a5a5a5a")}};  // data or nothing
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

const std::string body = [s = std::string()]() mutable {
    for (int i = 0; s.size() < 300'000; ++i) s += std::to_string(i) + "\n";
    return s;
}();

void archiveRoutes(httplib::Server& routes) {
    routes.Get(R"(/status/(\d+))", [](const httplib::Request& request, httplib::Response& response) {
        response.status = std::stoi(request.matches[1]);
        response.set_content(body, "application/zip");
    });
    routes.Get(R"(/redirect(/status/\d+))", [](const httplib::Request& request, httplib::Response& response) {
        response.set_redirect(request.matches[1]);
    });
    routes.Get("/unannounced", [](const httplib::Request&, httplib::Response& response) {
        response.set_chunked_content_provider("application/zip", [](std::size_t, httplib::DataSink& sink) {
            sink.write(body.data(), body.size());
            sink.done();
            return true;
        });
    });
    // Both announce the whole body and send half of it; then "/silent" says nothing for 3 seconds and
    // "/dropped" closes the connection.
    for (const std::string path : {"/silent", "/dropped"}) {
        routes.Get(path, [path](const httplib::Request&, httplib::Response& response) {
            const auto half = [path](std::size_t at, std::size_t, httplib::DataSink& sink) {
                if (at == 0) return sink.write(body.data(), body.size() / 2);
                if (path == "/silent") std::this_thread::sleep_for(std::chrono::seconds(3));
                return false;
            };
            response.set_content_provider(body.size(), "application/zip", half);
        });
    }
}

class DownloadJobTest : public ::testing::Test {
protected:
    // Runs one job for `path` over an older file at the destination, recording what it reports,
    // and returns its error's text, if any; cancels at the first report when asked.
    std::string download(const std::string& path, std::int64_t expected, bool cancel = false) {
        reports_.clear();
        writeFile(destination_, "older");
        std::stop_source stop;
        DownloadJob job(expected, [&](double fraction) {
            reports_.push_back(fraction);
            if (cancel) stop.request_stop();
        });
        return errorOf([&] { job.run(server_.url(path), destination_, stop.get_token()); });
    }

    LoopbackServer server_{archiveRoutes};
    TempDir folder_;
    fs::path destination_ = folder_ / "voice.zip";
    std::vector<double> reports_;
};

TEST_F(DownloadJobTest, CompleteFileWithOneReportedLastOrTheOlderFileAlone) {
    // The path, the catalog's size, and whether fractions below 1 come before the end.
    const std::tuple<const char*, std::int64_t, bool> cases[] = {
        {"/status/200", 10, true},  // the announced length wins over the catalog's size
        {"/redirect/status/200", 0, true},
        {"/unannounced", std::ssize(body), true},
        {"/unannounced", 0, false},      // nothing to divide by
        {"/unannounced", 1000, false}};  // more than the catalog's size
    for (const auto& [path, expected, fractionsBeforeTheEnd] : cases) {
        EXPECT_EQ(download(path, expected), "") << path;
        EXPECT_EQ(readFile(destination_), body) << path;
        EXPECT_EQ(std::distance(fs::directory_iterator(folder_.path()), {}), 1) << "partial left: " << path;
        ASSERT_FALSE(reports_.empty()) << path;
        EXPECT_TRUE(std::ranges::is_sorted(reports_)) << path;  // and so never above the last
        EXPECT_EQ(reports_.back(), 1.0) << path;
        EXPECT_EQ(reports_.front() < 1.0, fractionsBeforeTheEnd) << path << " " << expected;
    }
    const std::pair<const char*, std::string> failures[] = {
        {"/status/206", "Apple's voice catalog answered with HTTP 206."},
        {"/redirect/status/404", "Apple's voice catalog answered with HTTP 404."},
        {"/dropped", "The network connection was lost."},
        {"/slow", "The download was cancelled."}};
    for (const auto& [path, text] : failures) {
        EXPECT_EQ(download(path, 100, path == std::string("/slow")), text);
        EXPECT_EQ(readFile(destination_), "older") << path;
        EXPECT_EQ(std::distance(fs::directory_iterator(folder_.path()), {}), 1) << path;
        EXPECT_TRUE(std::ranges::all_of(reports_, [](double fraction) { return fraction < 1.0; })) << path;
    }
    EXPECT_THROW(DownloadJob(0, {}).run(server_.url("/status/404"), destination_),
                 EnhancedVoiceCatalog::Failure);
}

TEST_F(DownloadJobTest, AServerSilentForTheStallLimitEndsTheTransfer) {
    HttpTransfer transfer(server_.url("/silent"), std::chrono::seconds(1));
    EXPECT_EQ(
        errorOf([&] { transfer.run([](std::span<const std::byte>, const HttpTransfer::Head&) {}, {}); }),
        "The server stopped answering for 1 second.");
}

// The hashing thread gives the digest of the bytes in their order, pieces crossing its blocks and
// a file fed between them (a resumed download) included; one dropped unfinished just stops.
TEST(BackgroundSha1Test, DigestsTheBytesInOrderAcrossBlocks) {
    const std::string bytes = body + body + std::string(3 * BackgroundSha1::blockSize + 7, 'z');
    const TempDir folder;
    writeFile(folder / "held", body);
    BackgroundSha1 hash;
    hash.update(std::as_bytes(std::span(body)).first(1000));
    hash.updateFromFile(folder / "held");
    const auto rest = std::as_bytes(std::span(bytes)).subspan(1000);
    for (std::size_t at = 0; at < rest.size(); at += 65'537)
        hash.update(rest.subspan(at, std::min<std::size_t>(65'537, rest.size() - at)));
    EXPECT_EQ(hash.finish(), sha1Of(bytes.substr(0, 1000) + body + bytes.substr(1000)));
    BackgroundSha1 dropped;
    dropped.update(std::as_bytes(std::span(bytes)));
}

}  // namespace
}  // namespace velmora::test

// Entitles the process, writes this bundle's compact data and sets the user's locale, once.
int main(int argc, char** argv) {
    using namespace velmora::test;
    TestWorld::entitle("group.test.enhanced");
    // Voice names that the display order uses, and dictionaries that installs copy into packs.
    TestWorld::writeCompactData({{"ios5/TTSResources/en-US/broker.hdr", brokerHeader("Samantha")},
                                 {"ios6/TTSResources/en-US/user_rules.txt", "rules"},
                                 {"ios6/TTSResources/en-US/en_userdct.dat", "dictionary"},
                                 {"ios6/TTSResources/en-AU/broker.hdr", brokerHeader("daniel")},
                                 {"ios6/TTSResources/en-GB/broker.hdr", brokerHeader("DANIEL")}});
    TestWorld::useUsEnglish();
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
