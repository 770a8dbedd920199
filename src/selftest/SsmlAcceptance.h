#pragma once

#include <string_view>

namespace velmora {

// Whether a text is accepted as SSML: well-formed XML whose one root element is `speak`.
bool isAcceptedSsml(std::string_view text);

}  // namespace velmora
