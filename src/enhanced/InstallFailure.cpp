#include "enhanced/InstallFailure.h"

#include "store/ByteCount.h"
#include "store/VoiceStore.h"

namespace velmora {

std::string InstallFailure::text() const {
    switch (kind_) {
        case Kind::noContainer:
            return VoiceStore::containerStatus().explanation().value_or(
                "The shared voice folder is unavailable.");
        case Kind::digestMismatch:
            return "The download did not match the checksum Apple published.";
        case Kind::noVoiceInArchive:
            return "The download did not contain a voice.";
    }
    return {};
}

const char* InstallFailure::what() const noexcept {
    try {
        text_ = text();
    } catch (...) {
        return "The voice could not be installed.";
    }
    return text_.c_str();
}

NotEnoughSpace::NotEnoughSpace(std::int64_t needed, std::int64_t available)
    : std::runtime_error("There is not enough free space for this voice: it needs " +
                         formatByteCount(needed) + " and only " + formatByteCount(available) + " are free."),
      needed_(needed),
      available_(available) {}

}  // namespace velmora
