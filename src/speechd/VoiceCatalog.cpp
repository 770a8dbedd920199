#include "speechd/VoiceCatalog.h"

#include <algorithm>
#include <cctype>
#include <iostream>
#include <set>

namespace velmora::speechd {
namespace {

std::string lowered(std::string text) {
    for (auto& c : text) c = c == '_' ? '-' : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

std::string primary(const std::string& tag) { return lowered(tag.substr(0, tag.find_first_of("-_"))); }

// The provider's name as a person reads it: "org.example.Speech.Provider" gives "example".
std::string providerLabel(const std::string& busName) {
    std::string name = busName.substr(0, busName.rfind(".Speech.Provider"));
    return name.substr(name.rfind('.') + 1);
}

// The voices of `all` whose language is `language`, else those of its primary language.
std::vector<ModuleVoice> ofLanguage(const std::vector<ModuleVoice>& all, const std::string& language) {
    std::vector<ModuleVoice> exact;
    std::vector<ModuleVoice> close;
    for (const auto& voice : all) {
        if (lowered(voice.language) == lowered(language)) exact.push_back(voice);
        if (primary(voice.language) == primary(language)) close.push_back(voice);
    }
    return exact.empty() ? close : exact;
}

}  // namespace

std::size_t voiceTypeIndex(const std::string& voiceType) {
    const std::string type = lowered(voiceType);
    if (type.ends_with('2')) return 1;
    if (type.ends_with('3')) return 2;
    return 0;
}

VoiceCatalog::VoiceCatalog(std::shared_ptr<SpeechSystem> system) : system_(std::move(system)) {}

std::vector<ModuleVoice> VoiceCatalog::arrange(const std::vector<SpeechVoice>& voices) {
    std::vector<SpeechVoice> ordered = voices;
    std::stable_partition(ordered.begin(), ordered.end(),
                          [](const SpeechVoice& voice) { return voice.provider == ownProvider; });
    std::vector<ModuleVoice> list;
    std::set<std::string> taken;
    for (const auto& voice : ordered) {
        std::string name = voice.name.empty() ? voice.identifier : voice.name;
        if (taken.contains(lowered(name))) name += " (" + providerLabel(voice.provider) + ")";
        if (taken.contains(lowered(name))) name += " " + voice.identifier;
        taken.insert(lowered(name));
        list.push_back({name, voice.language, voice});
    }
    return list;
}

std::vector<ModuleVoice> VoiceCatalog::refresh() {
    system_->updateSpeechVoices();
    std::vector<ModuleVoice> fresh = arrange(system_->voices());
    std::lock_guard lock(mutex_);
    if (voices_ && *voices_ != fresh) {
        std::cerr << "sd_velmora: the voice list changed: " << fresh.size() << " voices, " << voices_->size()
                  << " before" << std::endl;
    }
    voices_ = fresh;
    return fresh;
}

std::vector<ModuleVoice> VoiceCatalog::voices() {
    {
        std::lock_guard lock(mutex_);
        if (voices_) return *voices_;
    }
    return refresh();
}

std::optional<ModuleVoice> VoiceCatalog::choose(const SpeechSettings& settings) {
    const std::vector<ModuleVoice> all = voices();
    if (all.empty()) return std::nullopt;
    if (!settings.synthesisVoice.empty()) {
        for (const auto& voice : all) {
            if (lowered(voice.name) == lowered(settings.synthesisVoice)) return voice;
        }
    }
    std::vector<ModuleVoice> candidates =
        settings.language.empty() ? all : ofLanguage(all, settings.language);
    if (candidates.empty()) candidates = all;
    return candidates[voiceTypeIndex(settings.voiceType) % candidates.size()];
}

}  // namespace velmora::speechd
