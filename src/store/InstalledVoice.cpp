#include "store/InstalledVoice.h"

std::size_t std::hash<velmora::InstalledVoice>::operator()(const velmora::InstalledVoice& voice) const {
    velmora::FieldHasher hasher;
    velmora::hashInto(hasher, voice.release);
    hasher.text(voice.locale);
    hasher.text(voice.name);
    hasher.text(voice.directory.native());
    hasher.integer(voice.sizeInBytes);
    return hasher.result();
}
