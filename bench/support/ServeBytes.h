#pragma once

#include <httplib.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <span>
#include <string>
#include <thread>

namespace velmora::bench {

// How an archive is served: at most `bytesPerSecond` (0: as fast as loopback goes), and when the
// last byte of the latest answer was handed to the socket.
struct Serving {
    double bytesPerSecond = 0;
    std::atomic<std::chrono::steady_clock::time_point> lastByteSent{};
};

// Serves `data` at `path` of a loopback benchmark server in pieces of at most 1 MiB, as a voice
// server streams an archive. The bytes and `serving` must outlive the server.
inline void serveBytes(httplib::Server& server, const std::string& path, std::span<const std::byte> data,
                       const char* contentType, Serving* serving = nullptr) {
    server.Get(path, [data, contentType, serving](const httplib::Request&, httplib::Response& response) {
        const auto start = std::chrono::steady_clock::now();
        response.set_content_provider(
            data.size(), contentType,
            [data, serving, start](std::size_t offset, std::size_t length, httplib::DataSink& sink) {
                if (serving && serving->bytesPerSecond > 0)
                    std::this_thread::sleep_until(
                        start +
                        std::chrono::duration<double>(static_cast<double>(offset) / serving->bytesPerSecond));
                const std::size_t piece = std::min<std::size_t>(length, 1 << 20);
                const bool sent = sink.write(reinterpret_cast<const char*>(data.data()) + offset, piece);
                if (sent && serving && offset + piece == data.size())
                    serving->lastByteSent = std::chrono::steady_clock::now();
                return sent;
            });
    });
}

}  // namespace velmora::bench
