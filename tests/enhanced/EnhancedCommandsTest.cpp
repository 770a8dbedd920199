// velmora-cli catalog and install against a catalog and archives served on loopback.
#include <gtest/gtest.h>

#include <cstdlib>
#include <mutex>
#include <nlohmann/json.hpp>

#include "Fixtures.h"
#include "cli/CliBundle.h"

namespace velmora::test {
namespace {
namespace fs = std::filesystem;

// A forward proxy on loopback: answers each absolute-form request ("GET http://host:port/path")
// with what the origin answers, and keeps the paths it was asked for.
class LoopbackProxy {
public:
    std::string url() const { return server_.url("/"); }
    std::vector<std::string> paths() const {
        std::lock_guard lock(mutex_);
        return paths_;
    }

private:
    void forward(const httplib::Request& request, httplib::Response& response) {
        const auto host = request.target.find('/', request.target.find("://") + 3);
        {
            std::lock_guard lock(mutex_);
            paths_.push_back(request.target.substr(host));
        }
        httplib::Client origin(request.target.substr(0, host));
        if (const auto answer = origin.Get(request.target.substr(host))) {
            response.status = answer->status;
            response.set_content(answer->body, answer->get_header_value("Content-Type"));
        } else {
            response.status = 502;
        }
    }

    mutable std::mutex mutex_;
    std::vector<std::string> paths_;
    LoopbackServer server_{[this](httplib::Server& s) {
        s.Get(".*", [this](const httplib::Request& q, httplib::Response& r) { forward(q, r); });
    }};
};

class EnhancedCommandsTest : public ::testing::Test {
protected:
    EnhancedCommandsTest() {
        ::setenv("VELMORA_CATALOG_URL", server_.url("/catalog.xml").c_str(), 1);
        ::setenv("LC_ALL", "C.UTF-8", 1);  // language names in English whatever the machine's locale
        writeFile(files_ / "fr-FR.zip", archive_);
        writeFile(files_ / "de-DE.zip", archive_);
        const std::string base = server_.url("/");
        writeFile(files_ / "catalog.xml",
                  catalogXml({servedAsset("4", "it-IT", base, "slow", ""),
                              servedAsset("4", "fr-FR", base, "fr-FR.zip", archive_),
                              servedAsset("4", "de-DE", base, "de-DE.zip", "other")}));
    }

    // Runs velmora-cli with `arguments` and sends it Ctrl-C as soon as its output holds `cue`.
    ProcessResult interruptedAt(const std::string& cue, const std::vector<std::string>& arguments) const {
        return interruptWhen([&cue](const std::string& out) { return out.find(cue) != std::string::npos; },
                             bundle_.folder() / "velmora-cli", arguments, bundle_.environment());
    }

    const std::string archive_ = makeZip({"voice/broker.hdr.asset", "Amelie", "voice/voice.dat", "data"});
    TempDir files_;
    LoopbackServer server_{[this](httplib::Server& s) { s.set_mount_point("/", files_.path()); }};
    CliBundle bundle_;
};

TEST_F(EnhancedCommandsTest, InstallThenListTheSortedCatalog) {
    const auto install = bundle_.run({"install", "ios6/fr-FR"});
    ASSERT_EQ(install.exitStatus, 0) << install.err;
    EXPECT_TRUE(install.out.starts_with("ios6/fr-FR: downloading\n")) << install.out;
    EXPECT_NE(install.out.find("ios6/fr-FR: unpacking\nios6/fr-FR: installed, "), std::string::npos)
        << install.out;
    EXPECT_EQ(readFile(bundle_.voices() / "ios6/fr-FR/broker.hdr"), "Amelie");

    EXPECT_EQ(bundle_.run({"catalog"}).out,
              "ios6/fr-FR\tFrench (France)\t1 KB\tinstalled\n"
              "ios6/de-DE\tGerman (Germany)\t1 KB\tavailable\n"
              "ios6/it-IT\tItalian (Italy)\t1 KB\tavailable\n");
    auto json = nlohmann::json::parse(bundle_.run({"catalog", "--json"}).out);
    std::string sha1;
    for (std::byte value : sha1Of(archive_))
        for (int shift : {4, 0}) sha1 += "0123456789abcdef"[(std::to_integer<int>(value) >> shift) & 15];
    EXPECT_EQ(json[0]["state"], "installed");
    EXPECT_EQ(json[0]["sha1"], sha1);
    EXPECT_EQ(json[0]["downloadSize"], 1000);
    EXPECT_EQ(json[0]["installedSize"], 4000);
}

TEST_F(EnhancedCommandsTest, FailuresExitWithTheErrorText) {
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"install", "ios6/de-DE"}, "ios6/de-DE: The download did not match the checksum Apple published."},
        {{"install", "ios7/fr-FR"}, "ios7/fr-FR is not in Apple's voice catalog."},
        {{"install", "ios6"},
         "\"ios6\" is not a voice: write RELEASE/LOCALE, such as ios6/en-US, with RELEASE one of ios5, ios6, "
         "ios7."}};
    for (const auto& [arguments, error] : cases) {
        const auto failed = bundle_.run(arguments);
        EXPECT_EQ(failed.exitStatus, 1) << error;
        EXPECT_EQ(failed.err, "velmora-cli: " + error + "\n");
    }

    const auto interrupted = interruptedAt("ios6/it-IT: downloading", {"install", "ios6/it-IT"});
    EXPECT_EQ(interrupted.exitStatus, 1);
    EXPECT_EQ(interrupted.err, "velmora-cli: ios6/it-IT: The download was cancelled.\n");
    EXPECT_TRUE(fs::is_empty(bundle_.voices() / ".staging"));
    EXPECT_FALSE(fs::exists(bundle_.voices() / "ios6/it-IT"));
    ::setenv("VELMORA_CATALOG_URL", server_.url("/missing.xml").c_str(), 1);
    const auto missing = bundle_.run({"catalog"});
    EXPECT_EQ(missing.exitStatus, 1);
    EXPECT_EQ(missing.err, "velmora-cli: Apple's voice catalog answered with HTTP 404.\n");
}

TEST_F(EnhancedCommandsTest, CtrlCWhileUnpackingSaysAtOnceThatTheInstallFinishes) {
    // Enough to unpack for a good fraction of a second, all of it after the download: written to a
    // pipe, the archive has data descriptors, so nothing of it is unpacked while it arrives.
    const auto big = files_ / "en-GB.zip";
    const std::string script =
        "import random, sys, zipfile\n"
        "data = random.Random(1).randbytes(1 << 20)\n"
        "with zipfile.ZipFile(sys.stdout.buffer, 'w') as archive:\n"
        "    archive.writestr('voice/broker.hdr.asset', 'Kate')\n"
        "    for i in range(100): archive.writestr(f'voice/{i}.dat', data)\n";
    const auto written = runProcess("/bin/sh", {"-c", "python3 -c \"$1\" | cat > \"$2\"", "sh", script, big});
    ASSERT_EQ(written.exitStatus, 0) << written.err;
    const std::string base = server_.url("/");
    writeFile(files_ / "catalog.xml", catalogXml({servedAsset("4", "en-GB", base, "en-GB.zip", readFile(big)),
                                                  servedAsset("4", "fr-FR", base, "fr-FR.zip", archive_)}));

    const auto result = interruptedAt("ios6/en-GB: unpacking", {"install", "ios6/en-GB", "ios6/fr-FR"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_NE(result.out.find("ios6/en-GB: unpacking\nios6/en-GB: installed, "), std::string::npos)
        << result.out;
    EXPECT_EQ(result.err,
              "velmora-cli: ios6/en-GB: the install is finishing and cannot be stopped now.\n"
              "velmora-cli: ios6/fr-FR: The download was cancelled.\n");
    EXPECT_EQ(readFile(bundle_.voices() / "ios6/en-GB/broker.hdr"), "Kate");
    EXPECT_FALSE(fs::exists(bundle_.voices() / "ios6/fr-FR"));
    EXPECT_TRUE(fs::is_empty(bundle_.voices() / ".staging"));
}

// The standard proxy variables are honoured: requests go through http_proxy unless no_proxy names
// the host, and a proxy that cannot be reached fails the command with a clear error.
TEST_F(EnhancedCommandsTest, DownloadsGoThroughTheProxyTheEnvironmentNames) {
    const LoopbackProxy proxy;
    const std::string closedProxy = [] { return LoopbackServer([](httplib::Server&) {}).url("/"); }();
    const std::vector<std::string> both{"/catalog.xml", "/fr-FR.zip"};
    const struct {
        const char* name;
        std::string httpProxy, noProxy;
        std::vector<std::string> proxied;  // what the proxy has seen afterwards
        std::string err;
    } cases[] = {
        {"through the proxy", proxy.url(), "", both, ""},
        {"host in no_proxy", proxy.url(), "example.org,127.0.0.1", both, ""},
        {"proxy closed", closedProxy, "", both,
         "velmora-cli: Could not connect to the server, or to the proxy that http_proxy names (" +
             closedProxy + ").\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        auto environment = bundle_.environment();
        environment.insert({{"http_proxy", c.httpProxy}, {"no_proxy", c.noProxy}, {"NO_PROXY", ""}});
        const auto result =
            runProcess(bundle_.folder() / "velmora-cli", {"install", "ios6/fr-FR"}, environment);
        EXPECT_EQ(result.exitStatus, c.err.empty() ? 0 : 1);
        EXPECT_EQ(result.err, c.err);
        EXPECT_EQ(proxy.paths(), c.proxied);
    }
}

}  // namespace
}  // namespace velmora::test
