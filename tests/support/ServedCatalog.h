#pragma once

#include <httplib.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "support/TestWorld.h"

namespace velmora::test {

// The voice folders of the container that the enhanced, window and app tests entitle themselves to.
inline std::filesystem::path voices() { return TestWorld::container("group.test.enhanced") / "Voices"; }
inline std::filesystem::path staging() { return voices() / ".staging"; }

using Entries = std::vector<std::pair<std::string, std::string>>;

std::vector<std::byte> sha1Of(std::string_view bytes);
inline std::string stringValue(std::string_view text) { return "<string>" + std::string(text) + "</string>"; }
std::string dataValue(const std::vector<std::byte>& bytes);
// A voice asset as the vendor publishes one, keys the program ignores included, with `changes`
// made to its keys (an empty value removes the key); and a catalog document around assets.
std::string assetXml(const std::string& format, const std::string& language, const Entries& changes = {});
std::string catalogXml(const std::vector<std::string>& assets);
// An asset that a loopback server serves at `base` + `path`, with the checksum of `archive`.
std::string servedAsset(const std::string& format, const std::string& language, const std::string& base,
                        const std::string& path, std::string_view archive, const Entries& changes = {});
// A zip archive written by Python's zipfile, from entry names each followed by its contents; a
// name ending in "/" is a folder.
std::string makeZip(const std::vector<std::string>& namesAndContents);

// The text of the error that `run` throws, or "" when it returns.
inline std::string errorOf(const std::function<void()>& run) {
    try {
        run();
        return "";
    } catch (const std::exception& error) {
        return error.what();
    }
}

// A certificate and its key (PEM files) for 127.0.0.1, signed by itself, made by the openssl tool.
struct TlsIdentity {
    std::filesystem::path certificate;
    std::filesystem::path key;
    static TlsIdentity create(const std::filesystem::path& folder);
};

// An HTTP server (HTTPS, given an identity) on 127.0.0.1 at a free port, serving on a thread of
// its own while it lives. Besides the given routes it answers /slow with a byte every 20 ms for as
// long as the client reads.
class LoopbackServer {
public:
    explicit LoopbackServer(const std::function<void(httplib::Server&)>& routes,
                            const TlsIdentity* tls = nullptr)
        : server_(tls ? std::make_unique<httplib::SSLServer>(tls->certificate.c_str(), tls->key.c_str())
                      : std::make_unique<httplib::Server>()),
          scheme_(tls ? "https" : "http") {
        httplib::Server& server = *server_;
        routes(server);
        server.Get("/slow", [](const httplib::Request&, httplib::Response& response) {
            response.set_chunked_content_provider("application/zip", [](std::size_t, auto& sink) {
                std::this_thread::sleep_for(std::chrono::milliseconds(20));
                return sink.write("x", 1);
            });
        });
        // Requests made before the thread accepts wait on the bound socket.
        port_ = server.bind_to_any_port("127.0.0.1");
        if (port_ <= 0) throw std::runtime_error("cannot bind a loopback port");
        thread_ = std::thread([this] { server_->listen_after_bind(); });
        while (!server.is_running()) std::this_thread::yield();  // stop() reaches only a running server
    }
    ~LoopbackServer() {
        server_->stop();
        thread_.join();
    }
    std::string url(std::string path) const {
        return scheme_ + "://127.0.0.1:" + std::to_string(port_) + path;
    }

private:
    std::unique_ptr<httplib::Server> server_;
    std::string scheme_;
    int port_ = 0;
    std::thread thread_;
};

}  // namespace velmora::test
