// velmora-cli catalog and install against a catalog and archives served on loopback.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <mutex>
#include <nlohmann/json.hpp>

#include "Fixtures.h"
#include "base/UniqueFd.h"
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

// A tunnelling proxy on loopback, as https_proxy names one: answers a CONNECT with "200
// Connection established", then copies bytes both ways until a side closes; keeps the targets.
class TunnelProxy {
public:
    TunnelProxy() {
        sockaddr_in address = loopback(0);
        socklen_t length = sizeof address;
        if (::bind(listener_.get(), reinterpret_cast<sockaddr*>(&address), length) != 0 ||
            ::listen(listener_.get(), 8) != 0 ||
            ::getsockname(listener_.get(), reinterpret_cast<sockaddr*>(&address), &length) != 0)
            throw std::runtime_error("cannot listen on loopback");
        port_ = ntohs(address.sin_port);
        acceptor_ = std::jthread([this] {
            for (int client; (client = ::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC)) >= 0;) {
                const std::lock_guard lock(mutex_);
                tunnels_.emplace_back([this, client] { tunnel(UniqueFd(client)); });
            }
        });
    }
    ~TunnelProxy() { ::shutdown(listener_.get(), SHUT_RDWR); }
    std::string url() const { return "http://127.0.0.1:" + std::to_string(port_); }
    std::vector<std::string> targets() const {
        const std::lock_guard lock(mutex_);
        return targets_;
    }

private:
    static sockaddr_in loopback(int port) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        return address;
    }

    // "CONNECT 127.0.0.1:PORT HTTP/1.1", headers, a blank line; then the tunnel.
    void tunnel(UniqueFd client) {
        std::string request;
        for (char c; !request.ends_with("\r\n\r\n") && ::read(client.get(), &c, 1) == 1;) request += c;
        const std::string target = request.substr(8, request.find(' ', 8) - 8);
        {
            const std::lock_guard lock(mutex_);
            targets_.push_back(target);
        }
        const UniqueFd origin(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        const sockaddr_in address = loopback(std::stoi(target.substr(target.rfind(':') + 1)));
        const std::string established = "HTTP/1.1 200 Connection established\r\n\r\n";
        if (::connect(origin.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
            ::write(client.get(), established.data(), established.size()) < 0)
            return;
        pollfd ends[2] = {{client.get(), POLLIN, 0}, {origin.get(), POLLIN, 0}};
        char buffer[65536];
        while (::poll(ends, 2, 10'000) > 0) {
            for (int i = 0; i < 2; ++i) {
                if (ends[i].revents == 0) continue;
                const ssize_t count = ::read(ends[i].fd, buffer, sizeof buffer);
                if (count <= 0 ||
                    ::send(ends[1 - i].fd, buffer, static_cast<std::size_t>(count), MSG_NOSIGNAL) != count)
                    return;
            }
        }
    }

    UniqueFd listener_{::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)};
    int port_ = 0;
    mutable std::mutex mutex_;
    std::vector<std::string> targets_;
    std::vector<std::jthread> tunnels_;
    std::jthread acceptor_;
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

// https_proxy: the catalog and the archive of an https server come through the proxy's tunnel,
// the server trusted through VELMORA_CA_FILE.
TEST_F(EnhancedCommandsTest, HttpsGoesThroughTheTunnelThatHttpsProxyNames) {
    const TlsIdentity identity = TlsIdentity::create(files_.path());
    const LoopbackServer secure([this](httplib::Server& s) { s.set_mount_point("/", files_.path()); },
                                &identity);
    writeFile(files_ / "secure.xml",
              catalogXml({servedAsset("4", "fr-FR", secure.url("/"), "fr-FR.zip", archive_)}));
    const TunnelProxy proxy;
    auto environment = bundle_.environment();
    environment.insert({{"VELMORA_CATALOG_URL", secure.url("/secure.xml")},
                        {"VELMORA_CA_FILE", identity.certificate.string()},
                        {"https_proxy", proxy.url()},
                        {"no_proxy", ""},
                        {"NO_PROXY", ""}});
    const auto result = runProcess(bundle_.folder() / "velmora-cli", {"install", "ios6/fr-FR"}, environment);
    EXPECT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(readFile(bundle_.voices() / "ios6/fr-FR/broker.hdr"), "Amelie");
    const std::string server = secure.url("").substr(std::string("https://").size());
    EXPECT_EQ(proxy.targets(), (std::vector<std::string>{server, server}));
}

}  // namespace
}  // namespace velmora::test
