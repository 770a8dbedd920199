#include <gtest/gtest.h>

#include <map>
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
std::string pack(const char* id = "ios6/en-US") {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(voices() / id))
        if (entry.is_regular_file()) files[fs::relative(entry, voices() / id)] = readFile(entry);
    std::string tree;
    for (const auto& [path, contents] : files) tree += (tree.empty() ? "" : " ") + path + "=" + contents;
    return tree;
}

class InstallerTest : public ::testing::Test {
protected:
    InstallerTest() { fs::remove_all(voices()); }

    // A voice whose archive the server hands out, with the archive's real digest.
    EnhancedVoice serve(const std::string& archive, const std::string& id = "ios6/en-US") {
        writeFile(files_ / id, archive);
        const auto slash = id.find('/');
        return {*VoiceRelease::named(id.substr(0, slash)),
                id.substr(slash + 1),
                std::ssize(archive),
                0,
                server_.url("/files/" + id),
                sha1Of(archive),
                "1.0"};
    }
    enum class StopAt { never, transferEnd, unpacking };
    // Runs the pipeline and returns what happened in order: the callbacks ("progress 1" for the
    // exact end), then "installed SIZE" or the error's text. Requests a stop from the report named.
    static std::vector<std::string> install(const EnhancedVoice& voice, StopAt stopAt = StopAt::never) {
        std::vector<std::string> events;
        std::stop_source stop;
        const auto progress = [&](double fraction) {
            if (fraction == 1.0 && stopAt == StopAt::transferEnd) stop.request_stop();
            events.push_back(fraction == 1.0 ? "progress 1" : "progress");
        };
        try {
            const auto unpacking = [&] {
                if (stopAt == StopAt::unpacking) stop.request_stop();
                events.push_back("unpacking");
            };
            const auto size = EnhancedVoiceManager::download(voice, progress, unpacking, stop.get_token());
            events.push_back("installed " + std::to_string(size));
        } catch (const std::exception& error) {
            events.push_back(error.what());
        }
        return events;
    }

    TempDir files_;
    LoopbackServer server_{[this](httplib::Server& s) { s.set_mount_point("/files", files_.path()); }};
};

TEST_F(InstallerTest, EveryFailureLeavesTheOldPackAndNoStaging) {
    const std::string good = makeZip({"v/broker.hdr.asset", "New", "v/voice.dat", "new"});
    const std::string mismatch = "The download did not match the checksum Apple published.";
    const std::string noVoice = "The download did not contain a voice.";
    const std::function<void(EnhancedVoice&)> same = [](auto&) {};
    const auto never = StopAt::never;
    // Archive, change to the voice, report that stops, error's text or start, unpacking reported.
    const std::tuple<std::string, std::function<void(EnhancedVoice&)>, StopAt, std::string, bool> cases[] = {
        {good, [](auto& v) { v.digest[19] ^= std::byte{1}; }, never, mismatch, false},
        {good, [](auto& v) { v.digest.resize(16); }, never, mismatch, false},
        {makeZip({"a/", "", "a/b/", ""}), same, never, noVoice, true},
        {makeZip({"a/Broker.hdr.asset", "x"}), same, never, noVoice, true},
        {makeZip({"v/broker.hdr", "x", "v/broker.hdr.asset", "y"}), same, never, "filesystem error", true},
        {makeZip({"../escaped/broker.hdr.asset", "x"}), same, never, "The archive holds an unsafe", true},
        {good, [](auto& v) { v.installedSize = std::int64_t{1} << 62; }, never, "There is not enough free",
         true},
        {good, same, StopAt::transferEnd, "The download was cancelled.", false}};
    for (const auto& [archive, change, stopAt, text, unpacking] : cases) {
        fs::remove_all(voices());
        writeFile(voices() / "ios6/en-US/broker.hdr", "Old");
        writeFile(voices() / "ios6/en-US/old.dat", "old");
        EnhancedVoice voice = serve(archive);
        change(voice);
        const auto events = install(voice, stopAt);
        EXPECT_TRUE(events.back().starts_with(text)) << events.back();
        EXPECT_EQ(std::ranges::count(events, "unpacking"), unpacking ? 1 : 0) << text;
        EXPECT_EQ(pack(), "broker.hdr=Old old.dat=old") << text;
        EXPECT_TRUE(fs::is_empty(staging())) << text;
    }
    EXPECT_STREQ(NotEnoughSpace(2'500'000, 1'000'000).what(),
                 "There is not enough free space for this voice: it needs 2.5 MB and only 1 MB are free.");
    // This process has a container, so no explanation applies.
    EXPECT_STREQ(InstallFailure::noContainer().what(), "The shared voice folder is unavailable.");
}

TEST_F(InstallerTest, AStopWhileUnpackingStillInstallsTheArchivesFirstHeader) {
    std::vector<std::string> entries;
    for (const std::string folder : {"m", "a", "z", "q", "c", "x", "f", "k"})
        entries.insert(entries.end(), {folder + "/broker.hdr.asset", folder});
    const auto events = install(serve(makeZip(entries)), StopAt::unpacking);
    EXPECT_TRUE(events.back().starts_with("installed ")) << events.back();
    EXPECT_EQ(pack(), "broker.hdr=m en_userdct.dat=dictionary user_rules.txt=rules");
}

TEST_F(InstallerTest, InstallsReinstallsAndInstallsAtOnceSweepingOnlyAbandonedStaging) {
    const auto events = install(
        serve(makeZip({"top.txt", "x", "a/readme.txt", "x", "a/b/", "", "a/b/broker.hdr.asset", "Tessa",
                       "a/b/voice.dat", "voice", "a/b/sub/extra.dat", "more", "other/x.dat", "x"})));
    // Only the header's folder, and the two dictionary files of the compact data of ios6/en-US.
    EXPECT_EQ(pack(),
              "broker.hdr=Tessa en_userdct.dat=dictionary sub/extra.dat=more user_rules.txt=rules "
              "voice.dat=voice");
    const std::string installed = "installed " + std::to_string(VoiceStore::size(voices() / "ios6/en-US"));
    ASSERT_GE(events.size(), 3u);
    EXPECT_EQ(std::vector(events.end() - 3, events.end()),
              (std::vector<std::string>{"progress 1", "unpacking", installed}));
    EXPECT_EQ(std::ranges::count(events, "unpacking"), 1);
    EXPECT_TRUE(fs::is_empty(staging()));
    const StagingFolder running = StagingFolder::create(voices());
    EXPECT_TRUE(std::regex_match(running.path().filename().string(),
                                 std::regex("[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}")));
    writeFile(running.path() / "voice.zip", "still downloading");
    const fs::path abandoned = staging() / StagingFolder::newUuid();
    writeFile(abandoned / "voice.zip", "left by a killed install");
    writeFile(staging() / "not-ours/file", "kept");
    const auto first = serve(makeZip({"w/broker.hdr.asset", "Six", "w/voice.dat", "new"}));
    const auto second = serve(makeZip({"v/broker.hdr.asset", "Seven"}), "ios7/fr-FR");
    {
        std::jthread a([&] { install(first); });
        std::jthread b([&] { install(second); });
    }
    EXPECT_EQ(pack(), "broker.hdr=Six en_userdct.dat=dictionary user_rules.txt=rules voice.dat=new");
    EXPECT_EQ(pack("ios7/fr-FR"), "broker.hdr=Seven");
    EXPECT_FALSE(fs::exists(abandoned));
    EXPECT_EQ(readFile(running.path() / "voice.zip"), "still downloading");
    EXPECT_TRUE(fs::exists(staging() / "not-ours/file"));
}

}  // namespace
}  // namespace velmora::test
