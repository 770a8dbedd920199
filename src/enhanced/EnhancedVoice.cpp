#include "enhanced/EnhancedVoice.h"

std::size_t std::hash<velmora::EnhancedVoice>::operator()(const velmora::EnhancedVoice& voice) const {
    velmora::FieldHasher hasher;
    velmora::hashInto(hasher, voice.release);
    hasher.text(voice.locale);
    hasher.integer(voice.downloadSize);
    hasher.integer(voice.installedSize);
    hasher.text(voice.url);
    hasher.integer(static_cast<long long>(voice.digest.size()));
    hasher.bytes(voice.digest.data(), voice.digest.size());
    hasher.text(voice.masteredVersion);
    return hasher.result();
}
