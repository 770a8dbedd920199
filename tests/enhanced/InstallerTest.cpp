#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <map>
#include <mutex>
#include <thread>

#include "CatalogFixture.h"
#include "EnhancedWorld.h"
#include "LoopbackServer.h"
#include "ZipFixture.h"
#include "enhanced/EnhancedVoiceCatalog.h"
#include "enhanced/EnhancedVoiceManager.h"
#include "enhanced/StagingFolder.h"
#include "enhanced/TransferFailure.h"
#include "store/VoiceStore.h"
#include "support/Files.h"
#include "zip/ZipReader.h"

namespace velmora::test {
namespace {
namespace fs = std::filesystem;

// Every file below a folder, as relative path -> contents.
std::map<std::string, std::string> treeOf(const fs::path& folder) {
    std::map<std::string, std::string> tree;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file())
            tree[fs::relative(entry.path(), folder).string()] = readFile(entry.path());
    }
    return tree;
}

class InstallerTest : public ::testing::Test {
protected:
    void SetUp() override { fs::remove_all(EnhancedWorld::voices()); }
    void TearDown() override {
        released_ = true;
        fs::remove_all(EnhancedWorld::voices());
    }

    // A voice whose archive the server hands out, with the archive's real digest.
    EnhancedVoice serve(const std::string& archive, const char* release = "ios6",
                        const char* locale = "en-US") {
        const std::string path = std::string("/files/") + release + "/" + locale + ".zip";
        {
            std::lock_guard lock(mutex_);
            files_[path] = archive;
        }
        return EnhancedVoice{*VoiceRelease::named(release),
                             locale,
                             static_cast<std::int64_t>(archive.size()),
                             0,
                             server_.url(path),
                             sha1Of(archive),
                             "1.0"};
    }

    // Runs the pipeline, recording the callbacks in order ("progress 1" for the exact end).
    std::int64_t install(const EnhancedVoice& voice, std::stop_token stop = {}) {
        return EnhancedVoiceManager::download(
            voice,
            [this](double fraction) {
                std::lock_guard lock(mutex_);
                events_.push_back(fraction == 1.0 ? "progress 1" : "progress");
            },
            [this] {
                std::lock_guard lock(mutex_);
                events_.push_back("unpacking");
            },
            stop);
    }
    bool unpackingReported() {
        std::lock_guard lock(mutex_);
        return std::ranges::find(events_, "unpacking") != events_.end();
    }
    static fs::path pack(const char* release = "ios6", const char* locale = "en-US") {
        return EnhancedWorld::voices() / release / locale;
    }
    static void expectNoStaging(const std::string& name) {
        EXPECT_TRUE(!fs::exists(EnhancedWorld::staging()) || fs::is_empty(EnhancedWorld::staging())) << name;
    }

    std::mutex mutex_;
    std::map<std::string, std::string> files_;
    std::vector<std::string> events_;
    std::atomic<bool> released_ = false;
    LoopbackServer server_{[this](httplib::Server& routes) {
        routes.Get(R"(/files/(.*))", [this](const httplib::Request& request, httplib::Response& response) {
            std::lock_guard lock(mutex_);
            auto file = files_.find(request.path);
            if (file == files_.end()) {
                response.status = 404;
                return;
            }
            response.set_content(file->second, "application/zip");
        });
        routes.Get("/slow", [this](const httplib::Request&, httplib::Response& response) {
            response.set_chunked_content_provider(
                "application/zip", [this](std::size_t, httplib::DataSink& sink) {
                    if (released_) return false;
                    std::this_thread::sleep_for(std::chrono::milliseconds(20));
                    return sink.write("x", 1);
                });
        });
    }};
};

TEST_F(InstallerTest, InstallsTheHeaderFolderAndNothingBesideIt) {
    const auto voice = serve(makeZip({
        {"top.txt", "outside"},
        {"a/readme.txt", "outside too"},
        {"a/b/", ""},
        {"a/b/broker.hdr.asset", brokerHeader("Tessa")},
        {"a/b/voice.dat", "voice data"},
        {"a/b/sub/extra.dat", "more data"},
        {"other/x.dat", "outside"},
    }));
    const std::int64_t size = install(voice);
    // The compact data of ios6/en-US adds its two dictionary files.
    EXPECT_EQ(treeOf(pack()), (std::map<std::string, std::string>{{"broker.hdr", brokerHeader("Tessa")},
                                                                  {"voice.dat", "voice data"},
                                                                  {"sub/extra.dat", "more data"},
                                                                  {"user_rules.txt", "rules"},
                                                                  {"en_userdct.dat", "dictionary"}}));
    EXPECT_EQ(size, VoiceStore::size(pack()));
    EXPECT_GT(size, 0);
    ASSERT_GE(events_.size(), 3u);
    EXPECT_EQ(events_.back(), "unpacking");
    EXPECT_EQ(events_[events_.size() - 2], "progress 1");
    EXPECT_EQ(std::ranges::count(events_, "unpacking"), 1);
    expectNoStaging("success");
}

struct FailureCase {
    const char* name;
    std::string archive;
    std::function<void(EnhancedVoice&)> change;
    bool unpacking;
    std::function<void(std::exception_ptr)> check;
};

void expectInstallFailure(std::exception_ptr error, InstallFailure expected, const char* text) {
    try {
        std::rethrow_exception(error);
    } catch (const InstallFailure& failure) {
        EXPECT_EQ(failure, expected);
        EXPECT_STREQ(failure.what(), text);
    } catch (const std::exception& other) {
        ADD_FAILURE() << "unexpected: " << other.what();
    }
}

template <typename Error>
std::function<void(std::exception_ptr)> throws() {
    return [](std::exception_ptr error) {
        try {
            std::rethrow_exception(error);
        } catch (const Error&) {
        } catch (const std::exception& other) {
            ADD_FAILURE() << "unexpected: " << other.what();
        }
    };
}

std::vector<FailureCase> failureCases() {
    const std::string good = makeZip({{"v/broker.hdr.asset", brokerHeader("New")}, {"v/voice.dat", "new"}});
    const auto mismatch = [](std::exception_ptr error) {
        expectInstallFailure(error, InstallFailure::digestMismatch(),
                             "The download did not match the checksum Apple published.");
    };
    const auto noVoice = [](std::exception_ptr error) {
        expectInstallFailure(error, InstallFailure::noVoiceInArchive(),
                             "The download did not contain a voice.");
    };
    return {
        {"one digest byte differs", good, [](EnhancedVoice& v) { v.digest[19] ^= std::byte{1}; }, false,
         mismatch},
        {"16-byte digest", good, [](EnhancedVoice& v) { v.digest.resize(16); }, false, mismatch},
        {"only folders", makeZip({{"a/", ""}, {"a/b/", ""}}), {}, true, noVoice},
        {"capitalised header", makeZip({{"a/Broker.hdr.asset", brokerHeader("New")}}), {}, true, noVoice},
        {"broker.hdr beside the asset",
         makeZip({{"v/broker.hdr", "x"}, {"v/broker.hdr.asset", brokerHeader("New")}}),
         {},
         true,
         throws<fs::filesystem_error>()},
        {"not a zip", "not a zip archive at all", {}, true, throws<ZipReader::Failure>()},
        {"entry leading outside",
         makeZip({{"../escaped/broker.hdr.asset", "x"}}),
         {},
         true,
         throws<ZipReader::Failure>()},
        {"larger than the free space", good,
         [](EnhancedVoice& v) { v.installedSize = 1'000'000'000'000'000'000; }, true,
         throws<NotEnoughSpace>()},
        {"missing archive", good, [](EnhancedVoice& v) { v.url += ".missing"; }, false,
         throws<EnhancedVoiceCatalog::Failure>()},
    };
}

TEST_F(InstallerTest, EveryFailureLeavesTheOldPackAndNoStaging) {
    for (const auto& c : failureCases()) {
        fs::remove_all(EnhancedWorld::voices());
        writeFile(pack() / "broker.hdr", brokerHeader("Old"));
        writeFile(pack() / "old.dat", "old");
        events_.clear();
        EnhancedVoice voice = serve(c.archive);
        if (c.change) c.change(voice);
        std::exception_ptr error;
        try {
            install(voice);
        } catch (...) {
            error = std::current_exception();
        }
        ASSERT_TRUE(error) << c.name << ": installed";
        c.check(error);
        EXPECT_EQ(unpackingReported(), c.unpacking) << c.name;
        EXPECT_EQ(treeOf(pack()), (std::map<std::string, std::string>{{"broker.hdr", brokerHeader("Old")},
                                                                      {"old.dat", "old"}}))
            << c.name;
        EXPECT_FALSE(fs::exists(EnhancedWorld::voices() / "escaped")) << c.name;
        EXPECT_FALSE(fs::exists(EnhancedWorld::staging() / "escaped")) << c.name;
        expectNoStaging(c.name);
    }
}

TEST_F(InstallerTest, ReinstallReplacesTheWholePack) {
    install(serve(makeZip({{"v/broker.hdr.asset", brokerHeader("First")}, {"v/old-only.dat", "old"}})));
    install(serve(makeZip({{"w/broker.hdr.asset", brokerHeader("Second")}, {"w/voice.dat", "new"}})));
    const auto tree = treeOf(pack());
    EXPECT_FALSE(tree.contains("old-only.dat"));
    EXPECT_EQ(tree.at("broker.hdr"), brokerHeader("Second"));
    EXPECT_EQ(tree.at("voice.dat"), "new");
    expectNoStaging("reinstall");
}

TEST_F(InstallerTest, TwoVoicesInstallAtOnce) {
    const auto first = serve(makeZip({{"v/broker.hdr.asset", brokerHeader("Six")}}), "ios6", "en-US");
    const auto second = serve(makeZip({{"v/broker.hdr.asset", brokerHeader("Seven")}}), "ios7", "fr-FR");
    std::int64_t sizes[2] = {};
    {
        std::jthread a([&] { sizes[0] = install(first); });
        std::jthread b([&] { sizes[1] = install(second); });
    }
    EXPECT_EQ(readFile(pack("ios6", "en-US") / "broker.hdr"), brokerHeader("Six"));
    EXPECT_EQ(readFile(pack("ios7", "fr-FR") / "broker.hdr"), brokerHeader("Seven"));
    EXPECT_GT(sizes[0], 0);
    EXPECT_GT(sizes[1], 0);
    expectNoStaging("two at once");
}

TEST_F(InstallerTest, CancellingStopsBeforeUnpacking) {
    writeFile(pack() / "broker.hdr", brokerHeader("Old"));
    const struct {
        const char* name;
        bool slow;
    } cases[] = {{"during the transfer", true}, {"as the transfer ends", false}};
    for (const auto& c : cases) {
        events_.clear();
        EnhancedVoice voice = serve(makeZip({{"v/broker.hdr.asset", brokerHeader("New")}}));
        if (c.slow) voice.url = server_.url("/slow");
        std::stop_source stop;
        try {
            EnhancedVoiceManager::download(
                voice,
                [&](double fraction) {
                    if (c.slow || fraction == 1.0) stop.request_stop();
                },
                [this] { events_.push_back("unpacking"); }, stop.get_token());
            ADD_FAILURE() << c.name << ": installed";
        } catch (const TransferFailure& failure) {
            EXPECT_EQ(failure.kind(), TransferFailure::Kind::cancelled) << c.name;
            EXPECT_STREQ(failure.what(), "The download was cancelled.");
        }
        EXPECT_TRUE(events_.empty()) << c.name;
        EXPECT_EQ(readFile(pack() / "broker.hdr"), brokerHeader("Old")) << c.name;
        expectNoStaging(c.name);
    }
}

TEST_F(InstallerTest, AbandonedStagingFoldersGoButNotARunningInstalls) {
    const fs::path abandoned = EnhancedWorld::staging() / StagingFolder::newUuid();
    writeFile(abandoned / "voice.zip", "left by a killed install");
    writeFile(EnhancedWorld::staging() / "not-ours/file", "kept");
    const StagingFolder running = StagingFolder::create(EnhancedWorld::voices());
    writeFile(running.path() / "voice.zip", "still downloading");
    EXPECT_FALSE(fs::exists(abandoned)) << "the running install swept it";

    writeFile(abandoned / "voice.zip", "left by a killed install");
    install(serve(makeZip({{"v/broker.hdr.asset", brokerHeader("New")}})));
    EXPECT_FALSE(fs::exists(abandoned));
    EXPECT_EQ(readFile(running.path() / "voice.zip"), "still downloading");
    EXPECT_TRUE(fs::exists(EnhancedWorld::staging() / "not-ours/file"));
}

TEST_F(InstallerTest, StagingFolderNamesAreUpperCaseUuids) {
    const std::string id = StagingFolder::newUuid();
    ASSERT_EQ(id.size(), 36u);
    for (std::size_t i = 0; i < id.size(); ++i) {
        if (i == 8 || i == 13 || i == 18 || i == 23) {
            EXPECT_EQ(id[i], '-');
        } else {
            EXPECT_TRUE(std::isdigit(static_cast<unsigned char>(id[i])) || (id[i] >= 'A' && id[i] <= 'F'))
                << id;
        }
    }
    EXPECT_NE(StagingFolder::newUuid(), id);
}

}  // namespace
}  // namespace velmora::test
