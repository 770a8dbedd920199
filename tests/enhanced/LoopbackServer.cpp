#include "LoopbackServer.h"

#include <stdexcept>

namespace velmora::test {

LoopbackServer::LoopbackServer(const std::function<void(httplib::Server&)>& routes,
                               const std::optional<TlsIdentity>& tls)
    : server_(tls ? std::make_unique<httplib::SSLServer>(tls->certificate.c_str(), tls->key.c_str())
                  : std::make_unique<httplib::Server>()),
      scheme_(tls ? "https" : "http") {
    routes(*server_);
    // The socket listens once bound, so requests made before the thread accepts simply wait.
    port_ = server_->bind_to_any_port("127.0.0.1");
    if (port_ <= 0) throw std::runtime_error("cannot bind a loopback port");
    thread_ = std::thread([this] { server_->listen_after_bind(); });
    // stop() only reaches a server that is already running.
    while (!server_->is_running()) std::this_thread::yield();
}

LoopbackServer::~LoopbackServer() {
    server_->stop();
    thread_.join();
}

std::string LoopbackServer::url(const std::string& path) const {
    return scheme_ + "://127.0.0.1:" + std::to_string(port_) + path;
}

std::string LoopbackServer::closedUrl(const std::string& path) {
    std::string address;
    {
        LoopbackServer closed([](httplib::Server&) {});
        address = closed.url(path);
    }
    return address;
}

}  // namespace velmora::test
