// velmora-cli catalog and install against a catalog and archives served on loopback.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <thread>

#include "CatalogFixture.h"
#include "LoopbackServer.h"
#include "ZipFixture.h"
#include "cli/CliBundle.h"

namespace velmora::test {
namespace {
namespace fs = std::filesystem;

std::string hexOf(const std::vector<std::byte>& bytes) {
    static const char digits[] = "0123456789abcdef";
    std::string text;
    for (std::byte value : bytes) {
        text += digits[static_cast<unsigned>(value) >> 4];
        text += digits[static_cast<unsigned>(value) & 15];
    }
    return text;
}

class EnhancedCommandsTest : public ::testing::Test {
protected:
    EnhancedCommandsTest() {
        ::setenv("VELMORA_CATALOG_URL", server_.url("/catalog.xml").c_str(), 1);
        // Language names in English whatever the machine's locale.
        ::setenv("LC_ALL", "C.UTF-8", 1);
        AssetSpec samantha;
        samantha.format = "3";
        samantha.language = "en-US";
        samantha.base = server_.url("/");
        samantha.relative = "samantha.zip";
        samantha.digest = sha1Of(archive_);
        AssetSpec amelie = samantha;
        amelie.format = "4";
        amelie.language = "fr-FR";
        amelie.relative = "amelie.zip";
        AssetSpec wrong = amelie;
        wrong.language = "de-DE";
        wrong.digest[0] ^= std::byte{1};
        AssetSpec slow = amelie;
        slow.language = "it-IT";
        slow.relative = "slow.zip";
        catalog_ = catalogXml({assetXml(amelie), assetXml(samantha), assetXml(wrong), assetXml(slow)});
    }
    ~EnhancedCommandsTest() override { released_ = true; }

    const std::string archive_ =
        makeZip({{"voice/broker.hdr.asset", brokerHeader("Amelie")}, {"voice/voice.dat", "data"}});
    std::string catalog_;
    std::atomic<bool> released_ = false;
    LoopbackServer server_{[this](httplib::Server& routes) {
        routes.Get("/catalog.xml", [this](const httplib::Request&, httplib::Response& response) {
            response.set_content(catalog_, "application/xml");
        });
        routes.Get(R"(/(samantha|amelie)\.zip)",
                   [this](const httplib::Request&, httplib::Response& response) {
                       response.set_content(archive_, "application/zip");
                   });
        routes.Get("/slow.zip", [this](const httplib::Request&, httplib::Response& response) {
            response.set_chunked_content_provider(
                "application/zip", [this](std::size_t, httplib::DataSink& sink) {
                    if (released_) return false;
                    std::this_thread::sleep_for(std::chrono::milliseconds(20));
                    return sink.write("x", 1);
                });
        });
    }};
    CliBundle bundle_;
};

TEST_F(EnhancedCommandsTest, CatalogListsSortedVoicesWithTheirState) {
    bundle_.installPack("ios5/en-US", "Samantha", 10);
    const auto text = bundle_.run({"catalog"});
    ASSERT_EQ(text.exitStatus, 0) << text.err;
    // Sorted by release, then by the voice's name, else its language's.
    EXPECT_EQ(text.out,
              "ios5/en-US\tSamantha\t1 KB\tinstalled\n"
              "ios6/fr-FR\tFrench (France)\t1 KB\tavailable\n"
              "ios6/de-DE\tGerman (Germany)\t1 KB\tavailable\n"
              "ios6/it-IT\tItalian (Italy)\t1 KB\tavailable\n");

    const auto json = bundle_.run({"catalog", "--json"});
    ASSERT_EQ(json.exitStatus, 0) << json.err;
    const auto list = nlohmann::json::parse(json.out);
    ASSERT_EQ(list.size(), 4u);
    EXPECT_EQ(list[0]["id"], "ios5/en-US");
    EXPECT_EQ(list[0]["state"], "installed");
    EXPECT_EQ(list[1]["locale"], "fr-FR");
    EXPECT_EQ(list[1]["state"], "available");
    EXPECT_EQ(list[1]["url"], server_.url("/amelie.zip"));
    EXPECT_EQ(list[1]["downloadSize"], 1000);
    EXPECT_EQ(list[1]["sha1"], hexOf(sha1Of(archive_)));
}

TEST_F(EnhancedCommandsTest, InstallReportsEachStepAndInstalls) {
    const auto result = bundle_.run({"install", "ios6/fr-FR"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_TRUE(result.out.starts_with("ios6/fr-FR: downloading\n")) << result.out;
    EXPECT_NE(result.out.find("ios6/fr-FR: unpacking\nios6/fr-FR: installed, "), std::string::npos)
        << result.out;
    EXPECT_EQ(readFile(bundle_.voices() / "ios6/fr-FR/broker.hdr"), brokerHeader("Amelie"));
}

TEST_F(EnhancedCommandsTest, FailuresExitWithTheErrorText) {
    const struct {
        const char* name;
        std::vector<std::string> arguments;
        std::string error;
    } cases[] = {
        {"wrong digest",
         {"install", "ios6/de-DE"},
         "velmora-cli: ios6/de-DE: The download did not match the checksum Apple published.\n"},
        {"not in the catalog",
         {"install", "ios7/fr-FR"},
         "velmora-cli: ios7/fr-FR is not in Apple's voice catalog.\n"},
        {"not a voice id",
         {"install", "ios6"},
         "velmora-cli: \"ios6\" is not a voice: write RELEASE/LOCALE, such as ios6/en-US, with RELEASE one "
         "of "
         "ios5, ios6, ios7.\n"},
    };
    for (const auto& c : cases) {
        const auto result = bundle_.run(c.arguments);
        EXPECT_EQ(result.exitStatus, 1) << c.name;
        EXPECT_EQ(result.err, c.error) << c.name;
        EXPECT_FALSE(fs::exists(bundle_.voices() / "ios6/de-DE")) << c.name;
    }
    ::setenv("VELMORA_CATALOG_URL", server_.url("/missing.xml").c_str(), 1);
    const auto result = bundle_.run({"catalog"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.err, "velmora-cli: Apple's voice catalog answered with HTTP 404.\n");
}

// Starts velmora-cli, waits for `line` on its standard output, then interrupts it as Ctrl-C does.
ProcessResult interruptAfter(const CliBundle& bundle, const std::vector<std::string>& arguments,
                             const std::string& line) {
    int out[2];
    int err[2];
    if (::pipe(out) != 0 || ::pipe(err) != 0) throw std::runtime_error("pipe");
    const pid_t child = ::fork();
    if (child == 0) {
        ::dup2(out[1], STDOUT_FILENO);
        ::dup2(err[1], STDERR_FILENO);
        ::setenv("VELMORA_APP_GROUPS_ROOT", bundle.containers().c_str(), 1);
        ::unsetenv("VELMORA_ENTITLEMENTS");
        const std::string program = (bundle.folder() / "velmora-cli").string();
        std::vector<char*> argv{const_cast<char*>(program.c_str())};
        for (const auto& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
        argv.push_back(nullptr);
        ::execv(program.c_str(), argv.data());
        ::_exit(127);
    }
    ::close(out[1]);
    ::close(err[1]);
    ProcessResult result;
    char buffer[256];
    while (result.out.find(line) == std::string::npos) {
        const ssize_t got = ::read(out[0], buffer, sizeof buffer);
        if (got <= 0) break;
        result.out.append(buffer, static_cast<std::size_t>(got));
    }
    ::kill(child, SIGINT);
    for (ssize_t got; (got = ::read(err[0], buffer, sizeof buffer)) > 0;)
        result.err.append(buffer, static_cast<std::size_t>(got));
    int status = 0;
    ::waitpid(child, &status, 0);
    ::close(out[0]);
    ::close(err[0]);
    result.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}

TEST_F(EnhancedCommandsTest, InterruptCancelsAndCleansUp) {
    const auto result = interruptAfter(bundle_, {"install", "ios6/it-IT"}, "ios6/it-IT: downloading\n");
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.err, "velmora-cli: ios6/it-IT: The download was cancelled.\n");
    EXPECT_TRUE(fs::is_empty(bundle_.voices() / ".staging"));
    EXPECT_FALSE(fs::exists(bundle_.voices() / "ios6/it-IT"));
}

}  // namespace
}  // namespace velmora::test
