#include "store/Entitlements.h"

#include <plist/plist.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>

#include "store/Bundle.h"
#include "store/Environment.h"

namespace velmora {
namespace {

struct PlistFree {
    void operator()(plist_t node) const { plist_free(node); }
};
using PlistPointer = std::unique_ptr<void, PlistFree>;

std::optional<std::string> readFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return std::nullopt;
    std::string bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    if (in.bad()) return std::nullopt;
    return bytes;
}

std::optional<std::string> stringValue(plist_t node) {
    if (plist_get_node_type(node) != PLIST_STRING) return std::nullopt;
    char* value = nullptr;
    plist_get_string_val(node, &value);
    if (value == nullptr) return std::nullopt;
    std::string result(value);
    std::free(value);
    return result;
}

std::vector<std::string> listOfStrings(plist_t node) {
    if (node == nullptr || plist_get_node_type(node) != PLIST_ARRAY) return {};
    std::vector<std::string> result;
    const uint32_t count = plist_array_get_size(node);
    for (uint32_t i = 0; i < count; ++i) {
        auto value = stringValue(plist_array_get_item(node, i));
        if (!value) return {};
        result.push_back(std::move(*value));
    }
    return result;
}

}  // namespace

std::filesystem::path Entitlements::file() {
    if (auto overridden = environmentValue("VELMORA_ENTITLEMENTS")) return *overridden;
    return Bundle::main().folder() / "Resources" / "velmora.entitlements";
}

std::vector<std::string> Entitlements::applicationGroups(const std::filesystem::path& file) {
    auto bytes = readFile(file);
    if (!bytes || bytes->empty() || bytes->size() > UINT32_MAX) return {};
    plist_t root = nullptr;
    plist_from_memory(bytes->data(), static_cast<uint32_t>(bytes->size()), &root);
    PlistPointer owner(root);
    if (root == nullptr || plist_get_node_type(root) != PLIST_DICT) return {};
    return listOfStrings(plist_dict_get_item(root, applicationGroupsKey));
}

}  // namespace velmora
