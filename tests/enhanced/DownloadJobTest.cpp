#include <gtest/gtest.h>

#include "Fixtures.h"
#include "enhanced/DownloadJob.h"
#include "enhanced/EnhancedVoiceCatalog.h"
#include "support/Files.h"

namespace velmora::test {
namespace {
namespace fs = std::filesystem;

const std::string body = [] {
    std::string text;
    for (int i = 0; text.size() < 300'000; ++i) text += "line " + std::to_string(i) + "\n";
    return text;
}();

void archiveRoutes(httplib::Server& routes) {
    routes.Get(R"(/status/(\d+))", [](const httplib::Request& request, httplib::Response& response) {
        response.status = std::stoi(request.matches[1]);
        response.set_content(body, "application/zip");
    });
    routes.Get("/unannounced", [](const httplib::Request&, httplib::Response& response) {
        response.set_chunked_content_provider("application/zip", [](std::size_t, httplib::DataSink& sink) {
            sink.write(body.data(), body.size());
            sink.done();
            return true;
        });
    });
    routes.Get("/dropped", [](const httplib::Request&, httplib::Response& response) {
        // Announces the whole body and closes the connection after half of it.
        response.set_content_provider(body.size(), "application/zip",
                                      [](std::size_t at, std::size_t, httplib::DataSink& sink) {
                                          return at == 0 && sink.write(body.data(), body.size() / 2);
                                      });
    });
    routes.Get(R"(/redirect(/status/\d+))", [](const httplib::Request& request, httplib::Response& response) {
        response.set_redirect(request.matches[1]);
    });
}

class DownloadJobTest : public ::testing::Test {
protected:
    // Runs one job for `path` over an older file at the destination, recording what it reports
    // and the body it passes on; the job is cancelled at its first report when asked.
    void download(const std::string& path, std::int64_t expected, bool cancel = false) {
        reports_.clear();
        observed_.clear();
        writeFile(destination_, "older");
        std::stop_source stop;
        DownloadJob job(expected, [&](double fraction) {
            reports_.push_back(fraction);
            if (cancel) stop.request_stop();
        });
        job.observeBody([this](std::span<const std::byte> piece) {
            observed_.append(reinterpret_cast<const char*>(piece.data()), piece.size());
        });
        job.run(server_.url(path), destination_, stop.get_token());
    }
    long filesInFolder() const { return std::distance(fs::directory_iterator(folder_.path()), {}); }

    LoopbackServer server_{archiveRoutes};
    TempDir folder_;
    fs::path destination_ = folder_ / "voice.zip";
    std::vector<double> reports_;
    std::string observed_;
};

TEST_F(DownloadJobTest, CompleteFileReplacesTheOlderOneAndOneIsReportedLast) {
    const struct {
        const char* path;
        std::int64_t expected;
        bool fractionsBeforeTheEnd;
    } cases[] = {{"/status/200", 10, true},  // the announced length wins over the catalog's size
                 {"/redirect/status/200", 0, true},
                 {"/unannounced", static_cast<std::int64_t>(body.size()), true},
                 {"/unannounced", 0, false},      // nothing to divide by
                 {"/unannounced", 1000, false}};  // more than expected
    for (const auto& c : cases) {
        download(c.path, c.expected);
        EXPECT_EQ(readFile(destination_), body) << c.path;
        EXPECT_EQ(observed_, body) << c.path;
        EXPECT_EQ(filesInFolder(), 1) << "partial file left: " << c.path;
        ASSERT_FALSE(reports_.empty()) << c.path;
        EXPECT_TRUE(std::ranges::is_sorted(reports_)) << c.path;  // and so never above the last
        EXPECT_EQ(reports_.back(), 1.0) << c.path;
        EXPECT_EQ(reports_.front() < 1.0, c.fractionsBeforeTheEnd) << c.path << " " << c.expected;
    }
}

TEST_F(DownloadJobTest, FailuresLeaveTheOlderFileAlone) {
    const std::pair<const char*, std::string> cases[] = {
        {"/status/206", "Apple's voice catalog answered with HTTP 206."},
        {"/status/304", "Apple's voice catalog answered with HTTP 304."},
        {"/status/404", "Apple's voice catalog answered with HTTP 404."},
        {"/status/500", "Apple's voice catalog answered with HTTP 500."},
        {"/redirect/status/404", "Apple's voice catalog answered with HTTP 404."},
        {"/dropped", "The network connection was lost."},
        {"/slow", "The download was cancelled."}};
    for (const auto& [path, text] : cases) {
        try {
            download(path, 100, path == std::string("/slow"));
            ADD_FAILURE() << path << " succeeded";
        } catch (const std::exception& failure) {
            EXPECT_EQ(failure.what(), text);
        }
        EXPECT_EQ(readFile(destination_), "older") << path;
        EXPECT_EQ(filesInFolder(), 1) << path;
        EXPECT_TRUE(std::ranges::all_of(reports_, [](double fraction) { return fraction < 1.0; })) << path;
    }
    EXPECT_THROW(download("/status/404", 0), EnhancedVoiceCatalog::Failure);
    EXPECT_THROW(DownloadJob(0, {}).run(server_.url("/status/200"), folder_ / "missing/voice.zip"),
                 fs::filesystem_error);
}

}  // namespace
}  // namespace velmora::test
