#include <gtest/gtest.h>

#include "Fixtures.h"
#include "enhanced/BackgroundSha1.h"
#include "enhanced/DownloadJob.h"
#include "enhanced/EnhancedVoiceCatalog.h"
#include "enhanced/HttpTransfer.h"
#include "support/Files.h"

namespace velmora::test {
namespace {
namespace fs = std::filesystem;

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
    // Sends half the body and then nothing for 3 seconds.
    routes.Get("/silent", [](const httplib::Request&, httplib::Response& response) {
        response.set_content_provider(body.size(), "application/zip",
                                      [](std::size_t at, std::size_t, httplib::DataSink& sink) {
                                          if (at == 0) return sink.write(body.data(), body.size() / 2);
                                          std::this_thread::sleep_for(std::chrono::seconds(3));
                                          return false;
                                      });
    });
    // Announces the whole body and closes the connection after half of it.
    routes.Get("/dropped", [](const httplib::Request&, httplib::Response& response) {
        response.set_content_provider(body.size(), "application/zip",
                                      [](std::size_t at, std::size_t, httplib::DataSink& sink) {
                                          return at == 0 && sink.write(body.data(), body.size() / 2);
                                      });
    });
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
        try {
            job.run(server_.url(path), destination_, stop.get_token());
            return "";
        } catch (const std::exception& error) {
            return error.what();
        }
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
    try {
        transfer.run([](std::span<const std::byte>, const HttpTransfer::Head&) {}, {});
        ADD_FAILURE() << "the transfer ended normally";
    } catch (const std::exception& error) {
        EXPECT_STREQ(error.what(), "The server stopped answering for 1 second.");
    }
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
