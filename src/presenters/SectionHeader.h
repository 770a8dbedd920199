#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace velmora {

// The header of a list section of one release's voices: "iOS 5 — 3 voices". The word stays
// "voices" for a single voice, on both screens.
std::string sectionHeader(std::string_view releaseLabel, std::size_t voiceCount);

}  // namespace velmora
