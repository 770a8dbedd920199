#include <gtest/gtest.h>

#include <map>
#include <mutex>
#include <regex>

#include "Fixtures.h"
#include "enhanced/EnhancedVoiceManager.h"
#include "enhanced/StagingFolder.h"
#include "store/VoiceStore.h"
#include "support/Files.h"

namespace velmora::test {
namespace {
namespace fs = std::filesystem;

// Every file below a pack's folder, in path order, as "path=contents" separated by spaces.
std::string pack(const char* releaseAndLocale = "ios6/en-US") {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(voices() / releaseAndLocale))
        if (entry.is_regular_file())
            files[fs::relative(entry.path(), voices() / releaseAndLocale)] = readFile(entry);
    std::string tree;
    for (const auto& [path, contents] : files) tree += (tree.empty() ? "" : " ") + path + "=" + contents;
    return tree;
}

void expectNoStaging(const std::string& name) {
    EXPECT_TRUE(!fs::exists(staging()) || fs::is_empty(staging())) << name;
}

class InstallerTest : public ::testing::Test {
protected:
    InstallerTest() { fs::remove_all(voices()); }
    ~InstallerTest() override { fs::remove_all(voices()); }

    // A voice whose archive the server hands out, with the archive's real digest.
    EnhancedVoice serve(const std::string& archive, const char* release = "ios6",
                        const char* locale = "en-US") {
        const std::string path = std::string("/files/") + release + "/" + locale;
        std::lock_guard lock(mutex_);
        files_[path] = archive;
        return {*VoiceRelease::named(release),
                locale,
                static_cast<std::int64_t>(archive.size()),
                0,
                server_.url(path),
                sha1Of(archive),
                "1.0"};
    }
    // Runs the pipeline, recording the callbacks in order ("progress 1" for the exact end) and
    // cancelling once a report reaches `cancelAt`.
    void install(const EnhancedVoice& voice, double cancelAt = 2) {
        std::stop_source stop;
        const auto record = [this](const char* event) {
            std::lock_guard lock(mutex_);
            events_.push_back(event);
        };
        const auto progress = [&](double fraction) {
            if (fraction >= cancelAt) stop.request_stop();
            record(fraction == 1.0 ? "progress 1" : "progress");
        };
        size_ = EnhancedVoiceManager::download(
            voice, progress, [&] { record("unpacking"); }, stop.get_token());
    }

    std::mutex mutex_;
    std::map<std::string, std::string> files_;
    std::vector<std::string> events_;
    std::int64_t size_ = 0;
    LoopbackServer server_{[this](httplib::Server& routes) {
        routes.Get(R"(/files/.*)", [this](const httplib::Request& request, httplib::Response& response) {
            std::lock_guard lock(mutex_);
            const auto file = files_.find(request.path);
            if (file == files_.end())
                response.status = 404;
            else
                response.set_content(file->second, "application/zip");
        });
    }};
};

TEST_F(InstallerTest, InstallsTheHeaderFolderAndNothingBesideIt) {
    install(serve(
        makeZip({"top.txt", "outside", "a/readme.txt", "outside too", "a/b/", "", "a/b/broker.hdr.asset",
                 "Tessa", "a/b/voice.dat", "voice", "a/b/sub/extra.dat", "more", "other/x.dat", "outside"})));
    // The compact data of ios6/en-US adds its two dictionary files.
    EXPECT_EQ(
        pack(),
        "broker.hdr=Tessa en_userdct.dat=dictionary sub/extra.dat=more user_rules.txt=rules voice.dat=voice");
    EXPECT_EQ(size_, VoiceStore::size(voices() / "ios6/en-US"));
    ASSERT_GE(events_.size(), 3u);
    EXPECT_EQ(std::vector(events_.end() - 2, events_.end()),
              (std::vector<std::string>{"progress 1", "unpacking"}));
    EXPECT_EQ(std::ranges::count(events_, "unpacking"), 1);
    expectNoStaging("success");
}

TEST_F(InstallerTest, EveryFailureLeavesTheOldPackAndNoStaging) {
    const std::string good = makeZip({"v/broker.hdr.asset", "New", "v/voice.dat", "new"});
    const std::string mismatch = "The download did not match the checksum Apple published.";
    const std::string noVoice = "The download did not contain a voice.";
    const std::string cancelled = "The download was cancelled.";
    const auto unchanged = [](EnhancedVoice&) {};
    const struct {
        std::string archive;
        std::function<void(EnhancedVoice&)> change;
        double cancelAt;
        std::string text;  // the error's, or its start
        bool unpacking;
    } cases[] = {{good, [](auto& v) { v.digest[19] ^= std::byte{1}; }, 2, mismatch, false},
                 {good, [](auto& v) { v.digest.resize(16); }, 2, mismatch, false},
                 {makeZip({"a/", "", "a/b/", ""}), unchanged, 2, noVoice, true},
                 {makeZip({"a/Broker.hdr.asset", "x"}), unchanged, 2, noVoice, true},
                 {makeZip({"v/broker.hdr", "x", "v/broker.hdr.asset", "y"}), unchanged, 2,
                  "filesystem error: cannot rename", true},
                 {"not a zip", unchanged, 2, "The download is not a zip archive.", true},
                 {makeZip({"../escaped/broker.hdr.asset", "x"}), unchanged, 2,
                  "The archive holds an unsafe file name", true},
                 {good, [](auto& v) { v.installedSize = std::int64_t{1} << 62; }, 2,
                  "There is not enough free space", true},
                 {good, [](auto& v) { v.url += ".missing"; }, 2,
                  "Apple's voice catalog answered with HTTP 404.", false},
                 {good, [this](auto& v) { v.url = server_.url("/slow"); }, 0, cancelled, false},
                 {good, unchanged, 1, cancelled, false}};  // as the transfer ends
    for (const auto& c : cases) {
        fs::remove_all(voices());
        writeFile(voices() / "ios6/en-US/broker.hdr", "Old");
        writeFile(voices() / "ios6/en-US/old.dat", "old");
        events_.clear();
        EnhancedVoice voice = serve(c.archive);
        c.change(voice);
        try {
            install(voice, c.cancelAt);
            ADD_FAILURE() << c.text << ": installed";
        } catch (const std::exception& error) {
            EXPECT_TRUE(std::string(error.what()).starts_with(c.text)) << error.what();
        }
        EXPECT_EQ(std::ranges::count(events_, "unpacking"), c.unpacking ? 1 : 0) << c.text;
        EXPECT_EQ(pack(), "broker.hdr=Old old.dat=old") << c.text;
        expectNoStaging(c.text);
    }
    EXPECT_STREQ(NotEnoughSpace(2'500'000, 1'000'000).what(),
                 "There is not enough free space for this voice: it needs 2.5 MB and only 1 MB are free.");
    // This process has a container, so no explanation applies.
    EXPECT_STREQ(InstallFailure::noContainer().what(), "The shared voice folder is unavailable.");
}

TEST_F(InstallerTest, ReinstallReplacesTheWholePackWhileAnotherVoiceInstalls) {
    install(serve(makeZip({"v/broker.hdr.asset", "First", "v/old-only.dat", "old"})));
    const auto first = serve(makeZip({"w/broker.hdr.asset", "Six", "w/voice.dat", "new"}));
    const auto second = serve(makeZip({"v/broker.hdr.asset", "Seven"}), "ios7", "fr-FR");
    {
        std::jthread a([&] { install(first); });
        std::jthread b([&] { install(second); });
    }
    EXPECT_EQ(pack(), "broker.hdr=Six en_userdct.dat=dictionary user_rules.txt=rules voice.dat=new");
    EXPECT_EQ(pack("ios7/fr-FR"), "broker.hdr=Seven");
    expectNoStaging("two at once");
}

TEST_F(InstallerTest, AbandonedStagingFoldersGoButNotARunningInstalls) {
    const fs::path abandoned = staging() / StagingFolder::newUuid();
    writeFile(abandoned / "voice.zip", "left by a killed install");
    writeFile(staging() / "not-ours/file", "kept");
    const StagingFolder running = StagingFolder::create(voices());
    EXPECT_TRUE(std::regex_match(running.path().filename().string(),
                                 std::regex("[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}")));
    writeFile(running.path() / "voice.zip", "still downloading");
    EXPECT_FALSE(fs::exists(abandoned)) << "the running install swept it";
    writeFile(abandoned / "voice.zip", "left by a killed install");
    install(serve(makeZip({"v/broker.hdr.asset", "New"})));
    EXPECT_FALSE(fs::exists(abandoned));
    EXPECT_EQ(readFile(running.path() / "voice.zip"), "still downloading");
    EXPECT_TRUE(fs::exists(staging() / "not-ours/file"));
}

}  // namespace
}  // namespace velmora::test
