#include "speech/SpeechSystem.h"

#include <unicode/locid.h>

#include <algorithm>
#include <string>

namespace velmora {
namespace {

// Voices are read with a time-out that leaves room for the bus to start a provider.
constexpr std::chrono::seconds voicesTimeout{10};

std::string normalizedTag(std::string_view tag) {
    std::string normal(tag);
    for (char& c : normal) {
        if (c == '_')
            c = '-';
        else if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    }
    return normal;
}

std::string primaryLanguage(const std::string& normalTag) { return normalTag.substr(0, normalTag.find('-')); }

}  // namespace

SpeechSystem::SpeechSystem() : SpeechSystem(SpielBus::connectToSession()) {}

SpeechSystem::SpeechSystem(std::shared_ptr<SpielBus> bus) : bus_(std::move(bus)) {}

std::shared_ptr<SpeechSystem> SpeechSystem::shared() {
    static const std::shared_ptr<SpeechSystem> system = std::make_shared<SpeechSystem>();
    return system;
}

void SpeechSystem::updateSpeechVoices(std::stop_token stop) {
    std::vector<ProviderVoice> voices;
    if (bus_) voices = bus_->voicesOf(bus_->providerNames(), voicesTimeout, stop);
    if (stop.stop_requested()) return;
    std::lock_guard lock(mutex_);
    voices_ = std::move(voices);
    read_ = true;
}

std::vector<ProviderVoice> SpeechSystem::providerVoices() {
    {
        std::lock_guard lock(mutex_);
        if (read_) return voices_;
    }
    updateSpeechVoices();
    std::lock_guard lock(mutex_);
    return voices_;
}

std::vector<SpeechVoice> SpeechSystem::voices() {
    std::vector<SpeechVoice> voices;
    for (auto& voice : providerVoices()) voices.push_back(std::move(voice.voice));
    return voices;
}

std::optional<SpeechVoice> SpeechSystem::voiceForLanguage(std::string_view language) {
    const std::string wanted =
        normalizedTag(language.empty() ? icu::Locale::getDefault().getName() : language);
    const std::vector<SpeechVoice> all = voices();
    auto exact = std::find_if(all.begin(), all.end(), [&](const SpeechVoice& voice) {
        return normalizedTag(voice.language) == wanted;
    });
    if (exact != all.end()) return *exact;
    auto sameLanguage = std::find_if(all.begin(), all.end(), [&](const SpeechVoice& voice) {
        return !voice.language.empty() &&
               primaryLanguage(normalizedTag(voice.language)) == primaryLanguage(wanted);
    });
    if (sameLanguage != all.end()) return *sameLanguage;
    return std::nullopt;
}

std::optional<ProviderVoice> SpeechSystem::find(std::string_view identifier, std::string_view provider) {
    for (auto& voice : providerVoices()) {
        if (voice.voice.identifier == identifier && (provider.empty() || voice.voice.provider == provider))
            return voice;
    }
    return std::nullopt;
}

std::optional<ProviderVoice> SpeechSystem::providerVoice(std::string_view identifier,
                                                         std::string_view provider) {
    if (auto voice = find(identifier, provider)) return voice;
    updateSpeechVoices();
    return find(identifier, provider);
}

}  // namespace velmora
