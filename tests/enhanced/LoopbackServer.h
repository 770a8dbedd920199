#pragma once

#include <httplib.h>

#include <functional>
#include <string>
#include <thread>

namespace velmora::test {

// An HTTP server on 127.0.0.1 at a free port, running on a thread of its own for the lifetime
// of the object. Routes are set up before it starts.
class LoopbackServer {
public:
    explicit LoopbackServer(const std::function<void(httplib::Server&)>& routes);
    ~LoopbackServer();
    LoopbackServer(const LoopbackServer&) = delete;
    LoopbackServer& operator=(const LoopbackServer&) = delete;

    int port() const { return port_; }
    std::string url(const std::string& path) const;

    // An address on which nothing listens.
    static std::string closedUrl(const std::string& path);

private:
    httplib::Server server_;
    int port_ = 0;
    std::thread thread_;
};

}  // namespace velmora::test
