#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string_view>
#include <vector>

#include "speech/SpeechTypes.h"
#include "speech/SpielBus.h"

namespace velmora {

// The voices that the speech providers on the session bus offer. The list is read from the
// providers the first time it is asked for and again on updateSpeechVoices(); between those
// it is the list last read. Without a session bus the list is empty. Calls from any thread.
class SpeechSystem {
public:
    // Connects to the session bus.
    SpeechSystem();
    // Uses `bus`; a null bus is a system without providers.
    explicit SpeechSystem(std::shared_ptr<SpielBus> bus);

    // The system of this process, connected on first use.
    static std::shared_ptr<SpeechSystem> shared();

    // Every provider's voices: providers in name order, each one's voices in its own order. Two
    // providers may offer the same identifier; each voice names its provider.
    std::vector<SpeechVoice> voices();
    // Re-reads the voices from the providers now; a read stopped half-way keeps the list as it was.
    void updateSpeechVoices(std::stop_token stop = {});
    // The first voice whose language is `language` (a BCP 47 tag, case and "-"/"_" ignored),
    // else the first with the same primary language; an empty tag means the user's locale.
    std::optional<SpeechVoice> voiceForLanguage(std::string_view language);

    // The provider details of a voice, of `provider` when given, else of the first provider that
    // offers it; a voice not in the list makes one re-read.
    std::optional<ProviderVoice> providerVoice(std::string_view identifier, std::string_view provider = {});
    // The bus the providers are on; null without one.
    const std::shared_ptr<SpielBus>& bus() const { return bus_; }

private:
    std::vector<ProviderVoice> providerVoices();
    std::optional<ProviderVoice> find(std::string_view identifier, std::string_view provider);

    std::shared_ptr<SpielBus> bus_;
    std::mutex mutex_;
    bool read_ = false;
    std::vector<ProviderVoice> voices_;
};

}  // namespace velmora
