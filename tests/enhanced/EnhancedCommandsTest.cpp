// velmora-cli catalog and install against a catalog and archives served on loopback.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <nlohmann/json.hpp>

#include "base/UniqueFd.h"
#include "cli/CliBundle.h"
#include "support/ServedCatalog.h"
#include "support/Watched.h"

namespace velmora::test {
namespace {
namespace fs = std::filesystem;

// A proxy on loopback, as http_proxy and https_proxy name one: a CONNECT is answered with "200
// Connection established", an absolute-form request ("GET http://host:port/path") is passed on in
// origin form; then bytes are copied each way until its sender closes. Keeps the CONNECT targets and
// the paths it was asked for.
class LoopbackProxy {
public:
    LoopbackProxy() {
        sockaddr_in address = loopback(0);
        socklen_t length = sizeof address;
        if (::bind(listener_.get(), reinterpret_cast<sockaddr*>(&address), length) != 0 ||
            ::listen(listener_.get(), 8) != 0 ||
            ::getsockname(listener_.get(), reinterpret_cast<sockaddr*>(&address), &length) != 0)
            throw std::runtime_error("cannot listen on loopback");
        port_ = ntohs(address.sin_port);
        acceptor_ = std::jthread([this] {
            for (int client; (client = ::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC)) >= 0;)
                tunnels_.emplace_back([this, client] { tunnel(UniqueFd(client)); });
        });
    }
    ~LoopbackProxy() { ::shutdown(listener_.get(), SHUT_RDWR); }
    std::string url() const { return "http://127.0.0.1:" + std::to_string(port_); }
    std::vector<std::string> asked() const { return asked_.current(); }

private:
    static sockaddr_in loopback(int port) {
        return {AF_INET, htons(static_cast<std::uint16_t>(port)), {htonl(INADDR_LOOPBACK)}, {}};
    }
    static void copy(int from, int to) {
        char buffer[65536];
        for (ssize_t count; (count = ::read(from, buffer, sizeof buffer)) > 0;)
            if (::send(to, buffer, static_cast<std::size_t>(count), MSG_NOSIGNAL) != count) break;
        ::shutdown(to, SHUT_WR);
    }

    void tunnel(UniqueFd client) {
        std::string head;
        for (char c; !head.ends_with("\r\n\r\n") && ::read(client.get(), &c, 1) == 1;) head += c;
        const bool connect = head.starts_with("CONNECT ");
        const auto at = head.find(' ') + 1;
        const std::string target = head.substr(at, head.find(' ', at) - at);
        const auto path = connect ? target.size() : target.find('/', target.find("://") + 3);
        asked_.change([&](auto& asked) { asked.push_back(connect ? target : target.substr(path)); });
        head = connect ? "HTTP/1.1 200 Connection established\r\n\r\n" : head.erase(at, path);
        const UniqueFd origin(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        const sockaddr_in address = loopback(std::stoi(target.substr(target.rfind(':', path) + 1)));
        if (::connect(origin.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
            ::write(connect ? client.get() : origin.get(), head.data(), head.size()) < 0)
            return;
        std::jthread back([&] { copy(origin.get(), client.get()); });
        copy(client.get(), origin.get());
    }

    UniqueFd listener_{::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)};
    int port_ = 0;
    mutable Watched<std::vector<std::string>> asked_;
    std::vector<std::jthread> tunnels_;
    std::jthread acceptor_;
};

class EnhancedCommandsTest : public ::testing::Test {
protected:
    EnhancedCommandsTest() {
        ::setenv("VELMORA_CATALOG_URL", server_.url("/catalog.xml").c_str(), 1);
        ::setenv("LC_ALL", "C.UTF-8", 1);  // language names in English whatever the machine's locale
        writeFile(files_ / "fr-FR.zip", archive_);
        const std::string base = server_.url("/");
        writeFile(files_ / "catalog.xml", catalogXml({servedAsset("4", "it-IT", base, "slow", ""),
                                                      servedAsset("4", "fr-FR", base, "fr-FR.zip", archive_),
                                                      servedAsset("4", "de-DE", base, "de-DE.zip", "")}));
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
    EXPECT_EQ(json[0]["state"], "installed");
    EXPECT_EQ(json[0]["sha1"], runProcess("/usr/bin/sha1sum", {files_ / "fr-FR.zip"}).out.substr(0, 40));
    EXPECT_EQ(json[0]["downloadSize"], 1000);
    EXPECT_EQ(json[0]["installedSize"], 4000);
}

TEST_F(EnhancedCommandsTest, FailuresExitWithTheErrorText) {
    const auto interrupted = interruptedAt("ios6/it-IT: downloading", {"install", "ios6/it-IT"});
    EXPECT_EQ(interrupted.exitStatus, 1);
    EXPECT_EQ(interrupted.err, "velmora-cli: ios6/it-IT: The download was cancelled.\n");
    EXPECT_TRUE(fs::is_empty(bundle_.voices() / ".staging"));
    EXPECT_FALSE(fs::exists(bundle_.voices() / "ios6/it-IT"));
    // Catalog address, arguments, and the error.
    const std::tuple<std::string, std::vector<std::string>, std::string> cases[] = {
        {"/catalog.xml", {"install", "ios7/fr-FR"}, "ios7/fr-FR is not in Apple's voice catalog."},
        {"/catalog.xml",
         {"install", "ios6"},
         "\"ios6\" is not a voice: write RELEASE/LOCALE, such as ios6/en-US, with RELEASE one of ios5, ios6, "
         "ios7."},
        {"/missing.xml", {"catalog"}, "Apple's voice catalog answered with HTTP 404."}};
    for (const auto& [catalog, arguments, error] : cases) {
        ::setenv("VELMORA_CATALOG_URL", server_.url(catalog).c_str(), 1);
        const auto failed = bundle_.run(arguments);
        EXPECT_EQ(failed.exitStatus, 1) << error;
        EXPECT_EQ(failed.err, "velmora-cli: " + error + "\n");
    }
}

TEST_F(EnhancedCommandsTest, CtrlCWhileUnpackingSaysAtOnceThatTheInstallFinishes) {
    // Enough to unpack for a good fraction of a second, all of it after the download: written to a
    // pipe, the archive has data descriptors, so nothing of it is unpacked while it arrives.
    const std::string script =
        "import random, sys, zipfile\n"
        "data = random.Random(1).randbytes(1 << 20)\n"
        "with zipfile.ZipFile(sys.stdout.buffer, 'w') as archive:\n"
        "    archive.writestr('voice/broker.hdr.asset', 'Kate')\n"
        "    for i in range(100): archive.writestr(f'voice/{i}.dat', data)\n";
    const std::string big = runProcess("/usr/bin/python3", {"-c", script}).out;
    writeFile(files_ / "en-GB.zip", big);
    const std::string base = server_.url("/");
    writeFile(files_ / "catalog.xml", catalogXml({servedAsset("4", "en-GB", base, "en-GB.zip", big),
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

// install --from: an archive the user has is installed only when it matches the catalog's checksum;
// a catalog that cannot be read, or a web page in its place, refuses it.
TEST_F(EnhancedCommandsTest, InstallFromFileOnlyTheArchiveTheCatalogNames) {
    writeFile(files_ / "portal.html", "<html><head><title>Sign in to Station WiFi</title></head></html>");
    writeFile(files_ / "other.zip", makeZip({"voice/broker.hdr.asset", "Other"}));
    const std::string notPublished =
        " is not the archive Apple published for ios6/fr-FR: its checksum "
        "does not match. Nothing was installed.";
    // Catalog address, archive, and the error (empty: installed).
    const std::tuple<std::string, std::string, std::string> cases[] = {
        {"/catalog.xml", "other.zip", "ios6/fr-FR: other.zip" + notPublished},
        {"/portal.html", "fr-FR.zip",
         "An archive is installed only when Apple's voice catalog can be read, because the archive "
         "must match the checksum published there. The catalog could not be read: Apple's voice "
         "catalog was answered by a web page titled \"Sign in to Station WiFi\" (Content-Type: "
         "text/html), not the catalog. A captive portal, a proxy or a login page may be in the way: "
         "sign in to the network in a web browser, then try again."},
        {"/catalog.xml", "fr-FR.zip", ""},
    };
    for (const auto& [catalog, file, error] : cases) {
        ::setenv("VELMORA_CATALOG_URL", server_.url(catalog).c_str(), 1);
        const auto result = bundle_.run({"install", "--from", (files_ / file).string(), "ios6/fr-FR"});
        EXPECT_EQ(result.err, error.empty() ? "" : "velmora-cli: " + error + "\n") << file;
        EXPECT_EQ(fs::exists(bundle_.voices() / "ios6/fr-FR/broker.hdr"), error.empty()) << file;
        EXPECT_TRUE(fs::exists(files_ / file));
    }
    EXPECT_EQ(readFile(bundle_.voices() / "ios6/fr-FR/broker.hdr"), "Amelie");
}

// The standard proxy variables are honoured: requests go through http_proxy unless no_proxy names
// the host, and a proxy that cannot be reached fails the command with a clear error.
TEST_F(EnhancedCommandsTest, DownloadsGoThroughTheProxyTheEnvironmentNames) {
    const LoopbackProxy proxy;
    const std::string closedProxy = [] { return LoopbackServer([](httplib::Server&) {}).url("/"); }();
    const std::vector<std::string> both{"/catalog.xml", "/fr-FR.zip"};
    // http_proxy, no_proxy, what the proxy has been asked for afterwards, and the error.
    const std::tuple<std::string, std::string, std::vector<std::string>, std::string> cases[] = {
        {proxy.url(), "", both, ""},
        {proxy.url(), "example.org,127.0.0.1", both, ""},  // the host is in no_proxy
        {closedProxy, "", both,
         "velmora-cli: Could not connect to the server, or to the proxy that http_proxy names (" +
             closedProxy + ").\n"},
    };
    for (const auto& [httpProxy, noProxy, proxied, err] : cases) {
        auto environment = bundle_.environment();
        environment.insert({{"http_proxy", httpProxy}, {"no_proxy", noProxy}, {"NO_PROXY", ""}});
        const auto result =
            runProcess(bundle_.folder() / "velmora-cli", {"install", "ios6/fr-FR"}, environment);
        EXPECT_EQ(result.exitStatus, err.empty() ? 0 : 1) << noProxy;
        EXPECT_EQ(result.err, err);
        EXPECT_EQ(proxy.asked(), proxied) << noProxy;
    }
}

// https_proxy: the catalog and the archive of an https server come through the proxy's tunnel, the
// server trusted only when VELMORA_CA_FILE names its authority.
TEST_F(EnhancedCommandsTest, HttpsGoesThroughTheTunnelThatHttpsProxyNames) {
    const TlsIdentity identity = TlsIdentity::create(files_.path());
    const LoopbackServer secure([this](httplib::Server& s) { s.set_mount_point("/", files_.path()); },
                                &identity);
    writeFile(files_ / "secure.xml",
              catalogXml({servedAsset("4", "fr-FR", secure.url("/"), "fr-FR.zip", archive_)}));
    const LoopbackProxy proxy;
    auto environment = bundle_.environment();
    environment.insert({{"VELMORA_CATALOG_URL", secure.url("/secure.xml")},
                        {"https_proxy", proxy.url()},
                        {"no_proxy", ""},
                        {"NO_PROXY", ""}});
    // VELMORA_CA_FILE (empty: unset), and the error (empty: installed).
    const std::string untrusted = "A secure connection to the server could not be made.";
    const std::pair<std::string, std::string> cases[] = {
        {"", untrusted}, {(files_ / "missing.pem").string(), untrusted}, {identity.certificate.string(), ""}};
    for (const auto& [caFile, error] : cases) {
        environment["VELMORA_CA_FILE"] = caFile;
        const auto result =
            runProcess(bundle_.folder() / "velmora-cli", {"install", "ios6/fr-FR"}, environment);
        EXPECT_EQ(result.err, error.empty() ? "" : "velmora-cli: " + error + "\n") << caFile;
    }
    EXPECT_EQ(readFile(bundle_.voices() / "ios6/fr-FR/broker.hdr"), "Amelie");
    const std::string server = secure.url("").substr(std::string("https://").size());
    EXPECT_EQ(proxy.asked(), std::vector<std::string>(4, server));
}

}  // namespace
}  // namespace velmora::test
