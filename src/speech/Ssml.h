#pragma once

#include <string_view>

namespace velmora {

// Whether `text` is SSML the synthesizer accepts: a well-formed XML document whose root
// element is `speak`.
bool isAcceptableSsml(std::string_view text);

}  // namespace velmora
