#include "enhanced/EnhancedVoiceCatalog.h"
#include "enhanced/VoiceInstaller.h"
#include "selftest/EnhancedSelfTest.h"

namespace velmora {

EnhancedSelfTestServices EnhancedSelfTestServices::system(std::stop_token stop) {
    return {
        .speech = SelfTestServices::system(),
        .fetchCatalog = [stop] { return EnhancedVoiceCatalog::fetch(stop); },
        .install =
            [stop](const EnhancedVoice& voice) {
                return VoiceInstaller(
                           voice, [](double) {}, [] {}, stop)
                    .run();
            },
    };
}

}  // namespace velmora
