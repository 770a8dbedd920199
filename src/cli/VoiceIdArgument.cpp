#include "cli/VoiceIdArgument.h"

#include <algorithm>

#include "cli/CommandError.h"

namespace velmora::cli {

VoiceId requireVoiceId(const std::string& text, const std::vector<VoiceRelease>& releases) {
    auto id = VoiceId::parse(text);
    if (id && std::ranges::find(releases, id->release) != releases.end()) return *id;
    std::string names;
    for (const auto& release : releases) names += (names.empty() ? "" : ", ") + release.name;
    throw CommandError("\"" + text +
                       "\" is not a voice: write RELEASE/LOCALE, such as ios6/en-US, "
                       "with RELEASE one of " +
                       names + ".");
}

}  // namespace velmora::cli
