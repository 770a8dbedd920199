#include "speech/Ssml.h"

#include <cstring>

#include <pugixml.hpp>

namespace velmora {

bool isAcceptableSsml(std::string_view text) {
    pugi::xml_document document;
    const pugi::xml_parse_result result = document.load_buffer(text.data(), text.size(), pugi::parse_default);
    if (!result) return false;
    return std::strcmp(document.document_element().name(), "speak") == 0;
}

}  // namespace velmora
