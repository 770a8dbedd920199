#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>

#include "EnhancedWorld.h"
#include "LoopbackServer.h"
#include "enhanced/DownloadJob.h"
#include "enhanced/EnhancedVoiceCatalog.h"
#include "enhanced/TransferFailure.h"
#include "support/Files.h"

namespace velmora::test {
namespace {
namespace fs = std::filesystem;

const std::string body = [] {
    std::string text;
    for (int i = 0; text.size() < 300'000; ++i) text += "line " + std::to_string(i) + "\n";
    return text;
}();

// Routes for every kind of answer the download must handle.
void archiveRoutes(httplib::Server& routes, std::atomic<bool>& released) {
    routes.Get("/archive", [](const httplib::Request&, httplib::Response& response) {
        response.set_content(body, "application/zip");
    });
    routes.Get("/unannounced", [](const httplib::Request&, httplib::Response& response) {
        response.set_chunked_content_provider(
            "application/zip", [](std::size_t offset, httplib::DataSink& sink) {
                if (offset >= body.size()) {
                    sink.done();
                    return true;
                }
                return sink.write(body.data() + offset, std::min<std::size_t>(50'000, body.size() - offset));
            });
    });
    routes.Get("/overlong", [](const httplib::Request&, httplib::Response& response) {
        // Announces 100 bytes and writes 150.
        response.set_content_provider(
            100, "application/zip",
            [](std::size_t, std::size_t, httplib::DataSink& sink) { return sink.write(body.data(), 150); });
    });
    routes.Get("/dropped", [](const httplib::Request&, httplib::Response& response) {
        response.set_content_provider(body.size(), "application/zip",
                                      [](std::size_t offset, std::size_t, httplib::DataSink& sink) {
                                          if (offset > 0) return false;  // closes the connection
                                          return sink.write(body.data(), body.size() / 2);
                                      });
    });
    routes.Get("/slow", [&released](const httplib::Request&, httplib::Response& response) {
        response.set_chunked_content_provider("application/zip",
                                              [&released](std::size_t, httplib::DataSink& sink) {
                                                  if (released) return false;
                                                  std::this_thread::sleep_for(std::chrono::milliseconds(20));
                                                  return sink.write("x", 1);
                                              });
    });
    routes.Get("/redirect", [](const httplib::Request&, httplib::Response& response) {
        response.set_redirect("/redirect-again", 302);
    });
    routes.Get("/redirect-again", [](const httplib::Request&, httplib::Response& response) {
        response.set_redirect("/archive", 307);
    });
    routes.Get("/redirect-missing", [](const httplib::Request&, httplib::Response& response) {
        response.set_redirect("/status/404", 302);
    });
    routes.Get(R"(/status/(\d+))", [](const httplib::Request& request, httplib::Response& response) {
        response.status = std::stoi(request.matches[1]);
        response.set_content(body, "application/zip");
    });
}

class DownloadJobTest : public ::testing::Test {
protected:
    void TearDown() override { released_ = true; }

    // Runs one job for `path`, recording its progress reports.
    void download(const std::string& path, std::int64_t expected, std::stop_token stop = {}) {
        DownloadJob job(expected, [this](double fraction) {
            std::lock_guard lock(mutex_);
            reports_.push_back(fraction);
        });
        job.run(server_.url(path), destination_, stop);
    }
    std::vector<double> reports() {
        std::lock_guard lock(mutex_);
        return reports_;
    }
    // The folder holds nothing but what the test put there before.
    void expectNothingWritten(const std::string& name) {
        EXPECT_FALSE(fs::exists(destination_)) << name;
        EXPECT_TRUE(fs::is_empty(folder_)) << name;
    }

    std::atomic<bool> released_ = false;
    LoopbackServer server_{[this](httplib::Server& routes) { archiveRoutes(routes, released_); }};
    fs::path folder_ = EnhancedWorld::scratch();
    fs::path destination_ = folder_ / "voice.zip";
    std::mutex mutex_;
    std::vector<double> reports_;
};

TEST(DownloadFractionTest, AnnouncedLengthElseExpectedNeverAboveOne) {
    const struct {
        const char* name;
        std::int64_t written, announced, expected;
        double fraction;
    } cases[] = {
        {"announced length", 50, 200, 1'000, 0.25},
        {"announced length wins over expected", 100, 100, 400, 1.0},
        {"no announced length: expected", 250'000, -1, 1'000'000, 0.25},
        {"announced zero: expected", 10, 0, 40, 0.25},
        {"more than announced", 150, 100, 0, 1.0},
        {"more than expected", 150, -1, 100, 1.0},
        {"nothing known", 150, -1, 0, -1.0},
        {"negative expected", 150, -1, -5, -1.0},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(DownloadJob::fraction(c.written, c.announced, c.expected), c.fraction) << c.name;
    }
}

TEST_F(DownloadJobTest, CompleteFileReplacesWhatWasThereAndReportsOneLast) {
    for (const char* path : {"/archive", "/redirect", "/unannounced"}) {
        writeFile(destination_, "an older download");
        reports_.clear();
        download(path, static_cast<std::int64_t>(body.size()));
        EXPECT_EQ(readFile(destination_), body) << path;
        EXPECT_EQ(fs::directory_iterator(folder_)->path(), destination_) << "partial file left: " << path;
        const auto fractions = reports();
        ASSERT_GE(fractions.size(), 2u) << path;
        EXPECT_TRUE(std::ranges::is_sorted(fractions)) << path;
        EXPECT_LT(fractions.front(), 1.0) << path;
        EXPECT_EQ(fractions.back(), 1.0) << path;
    }
}

TEST_F(DownloadJobTest, NothingToDivideByReportsOnlyTheEnd) {
    download("/unannounced", 0);
    EXPECT_EQ(reports(), std::vector<double>{1.0});
    EXPECT_EQ(readFile(destination_), body);
}

TEST_F(DownloadJobTest, MoreThanAnnouncedStopsAtTheAnnouncedLength) {
    download("/overlong", 0);
    EXPECT_EQ(readFile(destination_), body.substr(0, 100));
    for (double fraction : reports()) EXPECT_LE(fraction, 1.0);
    EXPECT_EQ(reports().back(), 1.0);
}

TEST_F(DownloadJobTest, EveryStatusBut200IsABadResponse) {
    const struct {
        const char* path;
        long status;
    } cases[] = {{"/status/206", 206},
                 {"/status/304", 304},
                 {"/status/404", 404},
                 {"/status/500", 500},
                 {"/redirect-missing", 404}};
    for (const auto& c : cases) {
        try {
            download(c.path, 100);
            ADD_FAILURE() << c.path << " succeeded";
        } catch (const EnhancedVoiceCatalog::Failure& failure) {
            EXPECT_EQ(failure, EnhancedVoiceCatalog::Failure::badResponse(c.status)) << c.path;
            EXPECT_EQ(failure.what(),
                      "Apple's voice catalog answered with HTTP " + std::to_string(c.status) + ".");
        }
        expectNothingWritten(c.path);
    }
    EXPECT_TRUE(reports().empty());
}

TEST_F(DownloadJobTest, BadResponseLeavesAnEarlierFileAlone) {
    writeFile(destination_, "kept");
    EXPECT_THROW(download("/status/404", 100), EnhancedVoiceCatalog::Failure);
    EXPECT_EQ(readFile(destination_), "kept");
}

TEST_F(DownloadJobTest, DroppedConnectionFailsWithNothingWritten) {
    try {
        download("/dropped", 0);
        ADD_FAILURE() << "a cut body succeeded";
    } catch (const TransferFailure& failure) {
        EXPECT_EQ(failure.kind(), TransferFailure::Kind::connectionLost);
        EXPECT_STREQ(failure.what(), "The network connection was lost.");
    }
    expectNothingWritten("dropped");
    for (double fraction : reports()) EXPECT_LT(fraction, 1.0);
}

TEST_F(DownloadJobTest, CancellingASlowBodyFailsOnceWithNothingWritten) {
    std::stop_source stop;
    int outcomes = 0;
    DownloadJob job(1'000'000, [&stop](double) { stop.request_stop(); });
    try {
        job.run(server_.url("/slow"), destination_, stop.get_token());
    } catch (const TransferFailure& failure) {
        ++outcomes;
        EXPECT_EQ(failure.kind(), TransferFailure::Kind::cancelled);
        EXPECT_STREQ(failure.what(), "The download was cancelled.");
    }
    EXPECT_EQ(outcomes, 1);
    expectNothingWritten("slow");
}

TEST_F(DownloadJobTest, CancelledFromAnotherThreadWhileWaiting) {
    std::stop_source stop;
    std::jthread canceller([&stop] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        stop.request_stop();
    });
    EXPECT_THROW(download("/slow", 0, stop.get_token()), TransferFailure);
    expectNothingWritten("slow");
}

TEST_F(DownloadJobTest, UnwritableDestinationIsAFileSystemError) {
    destination_ = folder_ / "missing-folder/voice.zip";
    EXPECT_THROW(download("/archive", 0), fs::filesystem_error);
}

}  // namespace
}  // namespace velmora::test
