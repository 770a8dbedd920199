// The catalog, downloads and installs: parsing the vendor's catalog, one download job over
// loopback, the install pipeline and its queue. Runs as a bundle of its own (see main at the end).
#include <gtest/gtest.h>

#include <atomic>
#include <limits>
#include <map>
#include <random>

#include "ServedVoice.h"
#include "enhanced/BackgroundSha1.h"
#include "enhanced/DownloadJob.h"
#include "enhanced/EnhancedVoiceCatalog.h"
#include "enhanced/HttpTransfer.h"
#include "enhanced/InstallFailure.h"
#include "enhanced/PartialDownload.h"
#include "enhanced/StagingFolder.h"
#include "enhanced/VoiceInstaller.h"
#include "enhanced/VoiceStateTable.h"
#include "store/VoiceStore.h"
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
        EnhancedVoice voice = servedVoice(server_.url("/files/" + id), archive);
        voice.release = *VoiceRelease::named(id.substr(0, 4));
        voice.locale = id.substr(5);
        return voice;
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
        const auto unpacking = [&] {
            if (stopAt == StopAt::unpacking) stop.request_stop();
            events.push_back("unpacking");
        };
        const std::string error = errorOf([&] {
            const auto size = VoiceInstaller(voice, progress, unpacking, stop.get_token()).run();
            events.push_back("installed " + std::to_string(size));
        });
        if (!error.empty()) events.push_back(error);
        return events;
    }

    TempDir files_;
    LoopbackServer server_{[this](httplib::Server& s) { s.set_mount_point("/files", files_.path()); }};
};

TEST_F(InstallerTest, EveryFailureLeavesTheOldPackAndNoStaging) {
    const std::string good = makeZip({"v/broker.hdr.asset", "New", "v/voice.dat", "new"});
    const std::string mismatch = "The download did not match the checksum Apple published.";
    const std::function<void(EnhancedVoice&)> same = [](auto&) {};
    const auto never = StopAt::never;
    // Archive, change to the voice, report that stops, error's text or start, unpacking reported.
    const std::tuple<std::string, std::function<void(EnhancedVoice&)>, StopAt, std::string, bool> cases[] = {
        {good, [](auto& v) { v.digest[19] ^= std::byte{1}; }, never, mismatch, false},
        {good, [](auto& v) { v.digest.resize(16); }, never, mismatch, false},
        {makeZip({"a/Broker.hdr.asset", "x"}), same, never, "The download did not contain a voice.", true},
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
    const StagingFolder running = StagingFolder::create(voices());
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

// A download cut halfway resumes from the user's cache when the server allows it, and starts over
// otherwise. This server cuts the first request after half the body; later ones answer a Range
// request guarded by If-Range as its `policy` says.
struct CuttingServer {
    enum class Policy { honoursRange, ignoresRange, fileChanged };

    std::string archive;
    Policy policy;
    std::atomic<int> requests{0};
    std::atomic<std::size_t> sent{0};

    void answer(const httplib::Request& request, httplib::Response& response) {
        const bool first = requests++ == 0;
        const std::string etag = policy == Policy::fileChanged && !first ? "\"v2\"" : "\"v1\"";
        response.set_header("ETag", etag);
        std::size_t from = 0;
        if (policy == Policy::honoursRange && request.has_header("Range") &&
            request.get_header_value("If-Range") == etag) {
            from = std::stoul(request.get_header_value("Range").substr(6));
            response.status = 206;
            response.set_header("Content-Range", "bytes " + std::to_string(from) + "-" +
                                                     std::to_string(archive.size() - 1) + "/" +
                                                     std::to_string(archive.size()));
        }
        const std::size_t end = first ? archive.size() / 2 : archive.size();
        const auto send = [this, from, end](std::size_t at, httplib::DataSink& sink) {
            if (from + at >= end) return false;  // cut (first request) or done
            sent += end - from - at;
            sink.write(archive.data() + from + at, end - from - at);
            if (end == archive.size()) sink.done();
            return true;
        };
        // Chunked, so that the server library leaves the Range header to this handler.
        response.set_chunked_content_provider("application/zip", send);
    }
};

TEST_F(InstallerTest, ASecondInstallFetchesTheRestOrStartsOverAndIsVerified) {
    std::string noise(100'000, '\0');  // printable, since it passes through a command line
    std::ranges::generate(noise, [random = std::minstd_rand(1)]() mutable { return '!' + random() % 90; });
    const std::string archive = makeZip({"v/broker.hdr.asset", "Resumed", "v/voice.dat", noise});
    using P = CuttingServer::Policy;
    // Policy, and whether the second install fetches only the rest (else the whole file again).
    const std::pair<P, bool> cases[] = {
        {P::honoursRange, true}, {P::ignoresRange, false}, {P::fileChanged, false}};
    for (const auto& [policy, resumes] : cases) {
        SCOPED_TRACE(static_cast<int>(policy));
        fs::remove_all(voices());
        CuttingServer served{archive, policy};
        LoopbackServer server([&](httplib::Server& s) {
            s.Get("/voice.zip",
                  [&](const auto& request, auto& response) { served.answer(request, response); });
        });
        const EnhancedVoice voice = servedVoice(server.url("/voice.zip"), archive);
        EXPECT_EQ(install(voice).back(), "The network connection was lost.");
        EXPECT_EQ(fs::file_size(PartialDownload::folder() / "ios6_en-US.part"), archive.size() / 2);
        served.sent = 0;
        EXPECT_EQ(install(voice).back().substr(0, 10), "installed ");
        EXPECT_EQ(served.sent == archive.size() - archive.size() / 2, resumes) << served.sent;
        EXPECT_EQ(served.sent >= archive.size(), !resumes) << served.sent;
        EXPECT_EQ(readFile(voices() / "ios6/en-US/broker.hdr"), "Resumed");
        EXPECT_TRUE(fs::is_empty(staging()));
        EXPECT_TRUE(fs::is_empty(PartialDownload::folder()));
    }
}

TEST_F(InstallerTest, PartialsOfVoicesGoneFromTheCatalogAreSwept) {
    const EnhancedVoice kept{*VoiceRelease::named("ios6"), "en-US", 0, 0, "http://127.0.0.1/a", {}, ""};
    fs::create_directories(PartialDownload::folder());
    for (const char* name : {"ios6_en-US.part", "ios6_en-US.meta", "ios7_fr-FR.part", "ios7_fr-FR.meta"})
        writeFile(PartialDownload::folder() / name, "x");
    PartialDownload::sweep(std::span(&kept, 1));
    EXPECT_TRUE(fs::exists(PartialDownload::folder() / "ios6_en-US.part"));
    EXPECT_FALSE(fs::exists(PartialDownload::folder() / "ios7_fr-FR.meta"));
    fs::last_write_time(PartialDownload::folder() / "ios6_en-US.part",
                        fs::file_time_type::clock::now() - PartialDownload::keptFor - std::chrono::hours(1));
    PartialDownload::sweep(std::span(&kept, 1));
    EXPECT_FALSE(fs::exists(PartialDownload::folder() / "ios6_en-US.part"));
    fs::remove_all(PartialDownload::folder());
}

TEST_F(InstallerTest, AWebPageInsteadOfTheArchiveIsNamed) {
    const std::string page = "<!DOCTYPE html><html><head><title>Hotel  Guest\nWiFi</title></head></html>";
    writeFile(files_ / "page.html", page);
    const EnhancedVoice voice = servedVoice(server_.url("/files/page.html"), page);
    EXPECT_EQ(
        install(voice).back(),
        "The download was answered by a web page titled \"Hotel Guest WiFi\" (Content-Type: text/html), not "
        "the voice archive. A captive portal, a proxy or a login page may be in the way: sign in to the "
        "network in a web browser, then try again.");
    EXPECT_FALSE(fs::exists(voices() / "ios6/en-US"));
}

// The install queue's bookkeeping: order, the limit of two, what cancelling does in each phase,
// and the totals the "Delete all" button names.
using State = VoiceState;
const State available{};
const State waiting{State::Waiting{}};
const State unpacking{State::Unpacking{}};
State downloading(double fraction) { return State{State::Downloading{fraction}}; }
State installed(std::int64_t size) { return State{State::Installed{size}}; }
State failed(const char* message) { return State{State::Failed{message}}; }

std::vector<std::string> voicesOf(const std::vector<VoiceStateTable::Task>& tasks) {
    std::vector<std::string> voices;
    for (const auto& task : tasks) voices.push_back(task.voiceId);
    return voices;
}

TEST(VoiceStateTableTest, RunsTwoAtATimeInTheOrderAskedFor) {
    VoiceStateTable table;
    for (const char* voice : {"a", "b", "c", "d"}) ASSERT_TRUE(table.enqueue(voice));
    EXPECT_FALSE(table.enqueue("c")) << "a voice is never queued twice";
    const auto first = table.startNext();
    EXPECT_EQ(voicesOf(first), (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(table.state("b"), downloading(0));

    EXPECT_FALSE(table.progress("c", first[0].id, 0.5)) << "a report names its own task";
    EXPECT_TRUE(table.finished("b", first[1].id, failed("No network.")));
    EXPECT_EQ(voicesOf(table.startNext()), std::vector<std::string>{"c"});
    EXPECT_EQ(table.state("b"), failed("No network."));
    EXPECT_EQ(table.state("d"), waiting);
}

// What cancel does to an install in each phase, and where the voice rests once the task ends.
TEST(VoiceStateTableTest, CancelTellsTheTruthInEveryPhase) {
    using C = VoiceStateTable::Cancel;
    // Whether the install runs (else it waits behind two others), reports unpacking before the cancel
    // and after it (the stop came too late); what the task ends with; what cancel says; the voice
    // right after cancel and once the task ended.
    const std::tuple<const char*, bool, bool, bool, State, C, State, State> cases[] = {
        {"waiting is forgotten", false, false, false, available, C::forgotten, available, available},
        {"download stops", true, false, false, failed("Cancelled."), C::stopping, available, available},
        {"stop too late lands", true, false, true, installed(9), C::stopping, available, installed(9)},
        {"unpacking goes on", true, true, false, installed(9), C::tooLate, unpacking, installed(9)},
        {"unpacking that fails", true, true, false, failed("Disk full."), C::tooLate, unpacking,
         failed("Disk full.")},
    };
    for (const auto& [name, start, unpackBefore, unpackAfter, outcome, result, afterCancel, atRest] : cases) {
        SCOPED_TRACE(name);
        VoiceStateTable table;
        if (!start) {
            table.enqueue("x");
            table.enqueue("y");
            table.startNext();
        }
        const auto id = table.enqueue("v").value();
        const auto started = table.startNext();
        ASSERT_EQ(started.size(), start ? 1u : 0u);
        if (unpackBefore) table.unpacking("v", id);
        EXPECT_EQ(table.cancel("v"), result);
        EXPECT_EQ(table.state("v"), afterCancel);
        EXPECT_TRUE(!start || started[0].stop.stop_requested() == (result == C::stopping));
        EXPECT_FALSE(table.progress("v", id, 0.7)) << "a cancelled download's progress is dropped";
        EXPECT_TRUE(!unpackAfter || table.unpacking("v", id));
        table.finished("v", id, outcome);
        EXPECT_EQ(table.state("v"), atRest);
        EXPECT_TRUE(start || !table.hasTaskId(id));
    }
}

TEST(VoiceStateTableTest, ACancelledDownloadHoldsItsPlaceUntilItEnds) {
    VoiceStateTable table;
    const auto first = table.enqueue("v").value();
    table.enqueue("w");
    table.startNext();
    table.cancel("v");
    const auto again = table.enqueue("v").value();
    table.enqueue("z");
    EXPECT_TRUE(table.startNext().empty()) << "the stopping download still runs";
    EXPECT_EQ(table.state("v"), waiting);
    EXPECT_FALSE(table.unpacking("v", first)) << "the newer install owns the row";

    table.finished("v", first, installed(5));
    EXPECT_EQ(table.state("v"), waiting) << "the newer install replaces it";
    const auto next = table.startNext();
    ASSERT_EQ(voicesOf(next), std::vector<std::string>{"v"});
    EXPECT_EQ(next[0].id, again);
}

TEST(VoiceStateTableTest, DeleteAllWaitsForStopsAndRefusesWhileUnpacking) {
    VoiceStateTable table;
    const auto a = table.enqueue("a").value();
    const auto b = table.enqueue("b").value();
    table.enqueue("c");
    table.startNext();
    table.unpacking("a", a);
    EXPECT_FALSE(table.cancelAllAndHold());
    EXPECT_EQ(table.state("c"), waiting) << "a refusal changes nothing";

    table.finished("a", a, installed(3));
    table.startNext();  // c starts
    ASSERT_TRUE(table.cancelAllAndHold());
    EXPECT_FALSE(table.idle()) << "b and c are stopping";
    EXPECT_EQ(table.state("c"), available);
    table.enqueue("d");
    table.finished("b", b, failed("Cancelled."));
    for (const auto& task : table.startNext()) ADD_FAILURE() << task.voiceId << " started while held";
    table.release();
    EXPECT_EQ(table.state("d"), waiting);
}

// Installed voices only; a sum beyond 64 bits stays at the largest instead of wrapping around,
// a limit no test catalog reaches.
TEST(VoiceStateTableTest, CountsInstalledVoicesAndSaturates) {
    VoiceStateTable table;
    constexpr auto largest = std::numeric_limits<std::int64_t>::max();
    table.set("ios6/en-US", installed(largest));
    table.set("ios6/en-GB", installed(10));
    table.set("ios6/fr-FR", failed("no"));
    EXPECT_EQ(table.installedCount(), 2);
    EXPECT_EQ(table.installedTotal(), largest);
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
