#pragma once

#include <httplib.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>

namespace velmora::test {

// A certificate and its private key, PEM files, for a server that speaks TLS.
struct TlsIdentity {
    std::filesystem::path certificate;
    std::filesystem::path key;
};

// An HTTP (or, given an identity, HTTPS) server on 127.0.0.1 at a free port, running on a
// thread of its own for the lifetime of the object. Routes are set up before it starts.
class LoopbackServer {
public:
    explicit LoopbackServer(const std::function<void(httplib::Server&)>& routes,
                            const std::optional<TlsIdentity>& tls = std::nullopt);
    ~LoopbackServer();
    LoopbackServer(const LoopbackServer&) = delete;
    LoopbackServer& operator=(const LoopbackServer&) = delete;

    int port() const { return port_; }
    std::string url(const std::string& path) const;

    // An address on which nothing listens.
    static std::string closedUrl(const std::string& path);

private:
    std::unique_ptr<httplib::Server> server_;
    std::string scheme_;
    int port_ = 0;
    std::thread thread_;
};

}  // namespace velmora::test
