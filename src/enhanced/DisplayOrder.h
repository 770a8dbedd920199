#pragma once

#include <string>
#include <vector>

#include "enhanced/EnhancedVoice.h"

namespace velmora {

// The name of a locale such as "en-US" in the user's language ("English (United States)"), or
// the identifier itself when there is none.
std::string languageName(const std::string& locale);

// The voice's name from the compact data, else its language name.
std::string displayName(const EnhancedVoice& voice);

// Orders voices by release name, then by lower-cased display name, then by language name; a
// stable sort, so voices equal in all three keep catalog order.
void sortForDisplay(std::vector<EnhancedVoice>& voices);

}  // namespace velmora
