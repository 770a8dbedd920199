#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace velmora {

// The environment variable naming the proxy that libcurl would use for an address, looked up as
// libcurl does: "<scheme>_proxy", then "<SCHEME>_PROXY" (except HTTP_PROXY, which libcurl
// ignores), then all_proxy and ALL_PROXY. no_proxy is not weighed, so the proxy found is one the
// transfer may have gone through: enough to name it when a connection fails.
struct ProxyVariable {
    std::string name;   // "https_proxy"
    std::string value;  // "http://proxy.example:3128"

    static std::optional<ProxyVariable> forAddress(std::string_view url);
};

}  // namespace velmora
