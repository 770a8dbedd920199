#include "app/EnhancedServices.h"

#include "enhanced/DisplayOrder.h"
#include "enhanced/LocalArchive.h"
#include "enhanced/PartialDownload.h"
#include "enhanced/VoiceInstaller.h"
#include "store/VoiceStore.h"

namespace velmora {

EnhancedServices EnhancedServices::real() {
    EnhancedServices services;
    services.fetchCatalog = &fetchCatalogSweepingPartials;
    services.install = [](const EnhancedVoice& voice, const Progress& progress, const Unpacking& unpacking,
                          std::stop_token stop) {
        return VoiceInstaller(voice, progress, unpacking, std::move(stop)).run();
    };
    services.matchArchive = [](const std::vector<EnhancedVoice>& catalog,
                               const std::filesystem::path& archive, const std::string& catalogError) {
        return voiceOfArchive(catalog, archive, catalogError);
    };
    services.installArchive = [](const EnhancedVoice& voice, const std::filesystem::path& archive,
                                 const Unpacking& unpacking, std::stop_token stop) {
        return VoiceInstaller(voice, {}, unpacking, std::move(stop)).installFrom(archive);
    };
    services.installedPacks = &VoiceStore::installed;
    services.removePack = [](const EnhancedVoice& voice) { VoiceStore::remove(voice.release, voice.locale); };
    services.removeAllPacks = &VoiceStore::removeAll;
    services.addMissingDictionaries = [] { VoiceStore::addMissingDictionaries(); };
    services.containerProblem = [] { return VoiceStore::containerStatus().explanation(); };
    services.voiceName = &velmora::displayName;
    services.languageName = &velmora::languageName;
    return services;
}

}  // namespace velmora
