#pragma once

#include <string_view>

namespace velmora {

// Texts for a voice to speak when the user has typed none: a sample sentence per language for
// the speech self test, and a greeting template per language ("%@" stands for the voice's name)
// for the main window.
struct Samples {
    // The sample sentence for a language code such as "en-US". Never fails.
    static std::string_view textFor(std::string_view languageCode);
    // The greeting template for a language code, still holding "%@". Never fails.
    static std::string_view templateFor(std::string_view languageCode);
};

}  // namespace velmora
