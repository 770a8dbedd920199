#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "speech/SpeechSystem.h"
#include "speechd/SpeechSettings.h"

namespace velmora::speechd {

// One entry of the module's voice list: a name unique in the list, the voice's language, and
// the voice of the speech client it stands for.
struct ModuleVoice {
    std::string name;
    std::string language;
    SpeechVoice voice;

    bool operator==(const ModuleVoice&) const = default;
};

// The voices of every speech provider on the session bus as one flat list: Velmora's own
// provider first, the others in name order. Calls from any thread.
class VoiceCatalog {
public:
    static constexpr const char* ownProvider = "com.tarvenholt.Velmora.Speech.Provider";

    explicit VoiceCatalog(std::shared_ptr<SpeechSystem> system);

    // Reads the voices from the providers again and returns the new list. A change is logged.
    std::vector<ModuleVoice> refresh();
    // The list last read (read now if it never was).
    std::vector<ModuleVoice> voices();

    // The voice for a message: the one named by the settings' synthesis voice; else, for the
    // settings' language (or any language when no voice has it), the voice its voice type
    // points at. Absent only when there are no voices at all.
    std::optional<ModuleVoice> choose(const SpeechSettings& settings);

    // The list in speech-dispatcher's order with names made unique: a name offered twice gets
    // its provider's name added.
    static std::vector<ModuleVoice> arrange(const std::vector<SpeechVoice>& voices);

private:
    std::shared_ptr<SpeechSystem> system_;
    std::mutex mutex_;
    std::optional<std::vector<ModuleVoice>> voices_;
};

// Which of the voices of one language a voice type picks: "male1", "female1" and the child
// types the first, "male2" and "female2" the second, "male3" and "female3" the third (counting
// round when a language has fewer).
std::size_t voiceTypeIndex(const std::string& voiceType);

}  // namespace velmora::speechd
