#include "store/VoiceId.h"

#include "store/VoiceStore.h"

namespace velmora {

std::optional<VoiceId> VoiceId::parse(std::string_view text) {
    const std::size_t slash = text.find('/');
    if (slash == std::string_view::npos) return std::nullopt;
    auto release = VoiceRelease::named(text.substr(0, slash));
    const std::string_view locale = text.substr(slash + 1);
    if (!release || !VoiceStore::isPlainName(locale)) return std::nullopt;
    return VoiceId{*release, std::string(locale)};
}

}  // namespace velmora
