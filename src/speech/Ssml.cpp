#include "speech/Ssml.h"

#include <cstring>
#include <pugixml.hpp>

namespace velmora {

bool isAcceptableSsml(std::string_view text) {
    pugi::xml_document document;
    const pugi::xml_parse_result result =
        document.load_buffer(text.data(), text.size(), pugi::parse_default | pugi::parse_fragment);
    if (!result) return false;
    // Parsed as a fragment, so that text outside the root shows up as a node instead of being
    // skipped; a document has one root element and nothing but markup around it.
    int elements = 0;
    for (const pugi::xml_node& node : document.children()) {
        if (node.type() == pugi::node_element) ++elements;
        if (node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata) return false;
    }
    return elements == 1 && std::strcmp(document.document_element().name(), "speak") == 0;
}

}  // namespace velmora
