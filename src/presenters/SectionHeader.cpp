#include "presenters/SectionHeader.h"

namespace velmora {

std::string sectionHeader(std::string_view releaseLabel, std::size_t voiceCount) {
    return std::string(releaseLabel) + " \u2014 " + std::to_string(voiceCount) + " voices";
}

}  // namespace velmora
