#include "store/Entitlements.h"

#include <plist/plist.h>

#include <cstdint>
#include <cstdlib>
#include <optional>

#include "base/Environment.h"
#include "base/PlistPointer.h"
#include "base/ReadFile.h"
#include "store/Bundle.h"

namespace velmora {
namespace {

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
    auto bytes = readWholeFile(file, UINT32_MAX);
    if (!bytes || bytes->empty()) return {};
    plist_t root = nullptr;
    plist_from_memory(bytes->data(), static_cast<uint32_t>(bytes->size()), &root);
    PlistPointer owner(root);
    if (root == nullptr || plist_get_node_type(root) != PLIST_DICT) return {};
    return listOfStrings(plist_dict_get_item(root, applicationGroupsKey));
}

}  // namespace velmora
