#pragma once

#include <httplib.h>

#include <algorithm>
#include <cstddef>
#include <span>
#include <string>

namespace velmora::bench {

// Serves `data` at `path` of a loopback benchmark server in pieces of at most 1 MiB, as a voice
// server streams an archive. The bytes must outlive the server.
inline void serveBytes(httplib::Server& server, const std::string& path, std::span<const std::byte> data,
                       const char* contentType) {
    server.Get(path, [data, contentType](const httplib::Request&, httplib::Response& response) {
        response.set_content_provider(
            data.size(), contentType,
            [data](std::size_t offset, std::size_t length, httplib::DataSink& sink) {
                return sink.write(reinterpret_cast<const char*>(data.data()) + offset,
                                  std::min<std::size_t>(length, 1 << 20));
            });
    });
}

}  // namespace velmora::bench
