#include "enhanced/EnhancedVoiceManager.h"

#include "enhanced/Sha1.h"
#include "enhanced/VoiceInstaller.h"

namespace velmora {

std::int64_t EnhancedVoiceManager::download(const EnhancedVoice& voice,
                                            const std::function<void(double)>& progress,
                                            const std::function<void()>& unpacking, std::stop_token stop) {
    return VoiceInstaller(voice, progress, unpacking, std::move(stop)).run();
}

std::vector<std::byte> EnhancedVoiceManager::digest(const std::filesystem::path& file) {
    return Sha1::ofFile(file);
}

}  // namespace velmora
