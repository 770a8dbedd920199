// A download cut halfway resumes from the user's cache when the server allows it, and starts over
// otherwise; the installed pack is verified either way.
#include <gtest/gtest.h>

#include <atomic>

#include "Fixtures.h"
#include "ServedVoice.h"
#include "enhanced/PartialDownload.h"
#include "enhanced/VoiceInstaller.h"
#include "enhanced/WebPageAnswer.h"
#include "store/VoiceStore.h"
#include "support/Files.h"

namespace velmora::test {
namespace {
namespace fs = std::filesystem;

// Serves one archive. The first request is cut after half the body; later ones answer a Range
// request guarded by If-Range as the server's `policy` says.
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
        // Chunked, so that the server library leaves the Range header to this handler.
        response.set_chunked_content_provider("application/zip",
                                              [this, from, end](std::size_t at, httplib::DataSink& sink) {
                                                  if (from + at >= end)
                                                      return false;  // cut (first request) or done
                                                  const std::size_t count = end - from - at;
                                                  sent += count;
                                                  sink.write(archive.data() + from + at, count);
                                                  if (end == archive.size()) sink.done();
                                                  return true;
                                              });
    }
};

std::string incompressible(std::size_t size) {
    std::string bytes(size, '\0');
    std::uint32_t state = 12345;
    for (auto& byte : bytes)
        byte = static_cast<char>('!' + ((state = state * 1103515245 + 12345) >> 16) % 90);
    return bytes;
}

std::string install(const EnhancedVoice& voice) {
    try {
        VoiceInstaller(voice, {}, {}, {}).run();
        return "installed";
    } catch (const std::exception& error) {
        return error.what();
    }
}

TEST(ResumeTest, ASecondInstallFetchesTheRestOrStartsOverAndIsVerified) {
    const std::string archive =
        makeZip({"v/broker.hdr.asset", "Resumed", "v/voice.dat", incompressible(100'000)});
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
        EXPECT_EQ(install(voice), "The network connection was lost.");
        EXPECT_EQ(fs::file_size(PartialDownload::folder() / "ios6_en-US.part"), archive.size() / 2);
        served.sent = 0;
        EXPECT_EQ(install(voice), "installed");
        EXPECT_EQ(served.sent == archive.size() - archive.size() / 2, resumes) << served.sent;
        EXPECT_EQ(served.sent >= archive.size(), !resumes) << served.sent;
        EXPECT_EQ(readFile(voices() / "ios6/en-US/broker.hdr"), "Resumed");
        EXPECT_TRUE(fs::is_empty(staging()));
        EXPECT_TRUE(fs::is_empty(PartialDownload::folder()));
    }
}

TEST(ResumeTest, PartialsOfVoicesGoneFromTheCatalogAreSwept) {
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

TEST(ResumeTest, AWebPageInsteadOfTheArchiveIsNamed) {
    fs::remove_all(voices());
    const std::string page = "<!DOCTYPE html><html><head><title>Hotel  Guest\nWiFi</title></head></html>";
    LoopbackServer server([&](httplib::Server& s) {
        s.Get("/voice.zip", [&](const auto&, auto& response) { response.set_content(page, "text/html"); });
    });
    const EnhancedVoice voice = servedVoice(server.url("/voice.zip"), page);
    EXPECT_EQ(
        install(voice),
        "The download was answered by a web page titled \"Hotel Guest WiFi\" (Content-Type: text/html), not "
        "the voice archive. A captive portal, a proxy or a login page may be in the way: sign in to the "
        "network in a web browser, then try again.");
    EXPECT_FALSE(fs::exists(voices() / "ios6/en-US"));
}

}  // namespace
}  // namespace velmora::test
