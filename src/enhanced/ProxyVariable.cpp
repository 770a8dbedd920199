#include "enhanced/ProxyVariable.h"

#include <vector>

#include "base/AsciiText.h"
#include "base/Environment.h"

namespace velmora {

std::optional<ProxyVariable> ProxyVariable::forAddress(std::string_view url) {
    const auto end = url.find("://");
    if (end == std::string_view::npos) return std::nullopt;
    const std::string scheme = asciiLowerCase(url.substr(0, end));
    std::vector<std::string> names{scheme + "_proxy"};
    if (scheme != "http") names.push_back(asciiUpperCase(scheme) + "_PROXY");
    names.insert(names.end(), {"all_proxy", "ALL_PROXY"});
    for (const auto& name : names) {
        if (auto value = environmentValue(name.c_str())) return ProxyVariable{name, *value};
    }
    return std::nullopt;
}

}  // namespace velmora
