#include "selftest/SsmlAcceptance.h"

#include <pugixml.hpp>

#include <algorithm>
#include <string>

namespace velmora {

bool isAcceptedSsml(std::string_view text) {
    pugi::xml_document document;
    if (!document.load_buffer(text.data(), text.size())) return false;
    const auto isElement = [](const pugi::xml_node& node) { return node.type() == pugi::node_element; };
    const auto roots = std::ranges::count_if(document.children(), isElement);
    return roots == 1 && std::string_view(document.document_element().name()) == "speak";
}

}  // namespace velmora
