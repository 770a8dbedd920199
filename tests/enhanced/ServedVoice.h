#pragma once

#include <iterator>
#include <string>
#include <string_view>

#include "enhanced/EnhancedVoice.h"
#include "store/VoiceRelease.h"
#include "support/ServedCatalog.h"

namespace velmora::test {

// ios6/en-US as the catalog would list it, its archive `archive` served at `url`.
inline EnhancedVoice servedVoice(const std::string& url, std::string_view archive) {
    return {*VoiceRelease::named("ios6"), "en-US", std::ssize(archive), 0, url, sha1Of(archive), "1.0"};
}

}  // namespace velmora::test
