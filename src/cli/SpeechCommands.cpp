// voices, speak: the speech providers' voices and speaking from the command line.
#include <future>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

#include "cli/CommandError.h"
#include "cli/Commands.h"
#include "presenters/MainWindowTexts.h"
#include "presenters/SectionHeader.h"
#include "speech/SpeechSystem.h"
#include "speech/Synthesizer.h"
#include "speech/VoiceList.h"

namespace velmora::cli {
namespace {

nlohmann::json groupsJson(const std::vector<VoiceGroup>& groups) {
    nlohmann::json list = nlohmann::json::array();
    for (const auto& group : groups) {
        nlohmann::json voices = nlohmann::json::array();
        for (const auto& voice : group.voices) {
            voices.push_back(
                {{"identifier", voice.identifier}, {"name", voice.name}, {"language", voice.language}});
        }
        list.push_back({{"release", group.release}, {"voices", voices}});
    }
    return list;
}

// The extension's voices as the window lists them: one section per release, headed by its
// label and count, one line per voice with its name, language and identifier.
void printVoices(bool asJson) {
    const auto voices = VoiceList::sortedByName(VoiceList::marked(SpeechSystem::shared()->voices()));
    const auto groups = VoiceList::grouped(voices);
    if (asJson) {
        std::cout << groupsJson(groups).dump(2) << '\n';
        return;
    }
    if (voices.empty()) std::cout << MainWindowTexts::emptyTitle << '\n';
    for (const auto& group : groups) {
        std::cout << sectionHeader(group.release, group.voices.size()) << '\n';
        for (const auto& voice : group.voices) {
            std::cout << "  " << voice.name << '\t' << voice.language << '\t' << voice.identifier << '\n';
        }
    }
}

// Waits for the one utterance the command speaks.
class SpeechEnd : public SynthesizerDelegate {
public:
    void didFinish(const Utterance&) override { finished_.set_value(true); }
    void didCancel(const Utterance&) override { finished_.set_value(false); }
    bool wait() { return finished_.get_future().get(); }

private:
    std::promise<bool> finished_;
};

struct SpeakOptions {
    std::string text;
    std::string voice;
    float rate = SpeechRate::defaultRate;
};

void speak(const SpeakOptions& options) {
    if (!(options.rate >= SpeechRate::minimum && options.rate <= SpeechRate::maximum)) {
        throw CommandError("The rate must be between 0 and 1 (0.5 is normal speed).");
    }
    auto system = SpeechSystem::shared();
    Utterance utterance;
    utterance.text = options.text;
    utterance.rate = options.rate;
    if (!options.voice.empty()) {
        const auto listed = system->providerVoice(options.voice);
        if (!listed) throw CommandError("No speech provider offers the voice \"" + options.voice + "\".");
        utterance.useVoice(listed->voice);
    } else if (system->voices().empty()) {
        throw CommandError("No speech provider offers any voice.");
    }
    SpeechEnd end;
    Synthesizer synthesizer(system, openAudioOutput);
    synthesizer.setDelegate(&end);
    synthesizer.speak(utterance);
    const bool finished = end.wait();
    synthesizer.setDelegate(nullptr);
    if (!finished) throw CommandError("The voice's provider did not speak the whole text.");
}

}  // namespace

void addSpeechCommands(CLI::App& app) {
    auto* voices =
        app.add_subcommand("voices", "List the extension's voices by release, as the window shows them");
    auto voicesAsJson = std::make_shared<bool>(false);
    voices->add_flag("--json", *voicesAsJson, "Print the groups as JSON");
    voices->callback([voicesAsJson] { printVoices(*voicesAsJson); });

    auto* say = app.add_subcommand("speak", "Speak a text aloud and wait until it has been spoken");
    auto options = std::make_shared<SpeakOptions>();
    say->add_option("--voice", options->voice, "The voice's identifier (default: a voice for your language)");
    say->add_option("--rate", options->rate,
                    "The speech rate, from 0 (slowest) over 0.5 (normal) to 1 (fastest)");
    say->add_option("text", options->text, "What to say")->required();
    say->callback([options] { speak(*options); });
}

}  // namespace velmora::cli
