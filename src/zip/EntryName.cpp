#include "zip/EntryName.h"

namespace velmora::zip {
namespace {

std::vector<std::string_view> split(std::string_view name) {
    std::vector<std::string_view> parts;
    std::size_t start = 0;
    for (;;) {
        const std::size_t slash = name.find('/', start);
        parts.push_back(
            name.substr(start, slash == std::string_view::npos ? std::string_view::npos : slash - start));
        if (slash == std::string_view::npos) return parts;
        start = slash + 1;
    }
}

}  // namespace

bool isSafeEntryName(std::string_view name) {
    if (name.empty() || name.front() == '/' || name.find('\0') != std::string_view::npos) return false;
    const auto parts = split(name);
    for (const auto part : parts) {
        if (part == "..") return false;
    }
    const bool directory = name.back() == '/';
    return directory || parts.back() != ".";
}

std::vector<std::string> nameComponents(std::string_view name) {
    std::vector<std::string> components;
    for (const auto part : split(name)) {
        if (!part.empty() && part != ".") components.emplace_back(part);
    }
    return components;
}

std::string fileKey(std::string_view name) {
    std::string key;
    for (const auto& part : nameComponents(name)) key += (key.empty() ? "" : "/") + part;
    return key;
}

}  // namespace velmora::zip
