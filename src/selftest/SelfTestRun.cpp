// The speech self test up to its summary: the extension's voices, the control voice and one
// render per voice; then the diagnostics of the reference voice.
#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "samples/Samples.h"
#include "selftest/SelfTest.h"
#include "selftest/SpeechDiagnostics.h"
#include "selftest/Verdicts.h"

namespace velmora {
namespace {

constexpr std::string_view voiceMarker = "Velmora.voice.";
constexpr std::string_view extensionName = "Velmora";
constexpr int voicePolls = 20;
constexpr std::chrono::duration<double> pollInterval{0.5};
constexpr std::string_view controlLanguage = "en-US";
constexpr const char* controlText = "Control sample.";
constexpr std::string_view referenceSuffix = ".ios4.en-US.Samantha";

constexpr std::array<std::pair<std::string_view, std::string_view>, 5> releaseTable{{
    {"ios3.", "iPhone OS 3"},
    {"ios4.", "iOS 4"},
    {"ios5.", "iOS 5"},
    {"ios6.", "iOS 6"},
    {"ios7.", "iOS 7"},
}};

bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

std::vector<SpeechVoice> extensionVoices(const std::vector<SpeechVoice>& all) {
    std::vector<SpeechVoice> marked;
    std::ranges::copy_if(all, std::back_inserter(marked),
                         [](const SpeechVoice& voice) { return contains(voice.identifier, voiceMarker); });
    return marked;
}

// Looks at the system's voices until the extension's appear, pausing between looks; after the
// last look and its pause the list may still be empty.
std::vector<SpeechVoice> waitForExtensionVoices(const SelfTestServices& services) {
    for (int poll = 0; poll < voicePolls; ++poll) {
        auto voices = extensionVoices(services.speechVoices());
        if (!voices.empty()) return voices;
        services.pause(pollInterval);
    }
    return {};
}

void printVoiceCounts(const SelfTestServices& services, const std::vector<SpeechVoice>& voices) {
    services.print("SELFTEST voices: " + std::to_string(voices.size()));
    for (const auto& [prefix, label] : releaseTable) {
        const std::string dotted = "." + std::string(prefix);
        const auto count = std::ranges::count_if(
            voices, [&](const SpeechVoice& voice) { return contains(voice.identifier, dotted); });
        services.print("SELFTEST release " + std::string(label) + ": " + std::to_string(count) + " voices");
    }
}

bool sameLanguageTag(std::string_view a, std::string_view b) {
    auto normal = [](char c) {
        return c == '_' ? '-' : static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
    };
    return std::ranges::equal(a, b, {}, normal, normal);
}

// The system's voice for a language on a bus of speech providers: the first voice of that
// language in the system's order among the voices that are not the extension's, as the
// platform's own voices are preferred to an extension's; the extension's first only when no
// other provider speaks the language.
std::optional<SpeechVoice> systemVoiceFor(std::string_view language, const std::vector<SpeechVoice>& all) {
    std::optional<SpeechVoice> extensionOwn;
    for (const auto& voice : all) {
        if (!sameLanguageTag(voice.language, language)) continue;
        if (!contains(voice.identifier, extensionName)) return voice;
        if (!extensionOwn) extensionOwn = voice;
    }
    return extensionOwn;
}

void renderControl(const SelfTestServices& services, SelfTestRenderer& synthesizer) {
    const auto control = systemVoiceFor(controlLanguage, services.speechVoices());
    if (!control || contains(control->identifier, extensionName)) return;
    const RenderResult result = synthesizer.render(controlText, *control, SpeechRate::defaultRate, 1.0f);
    services.print(formatted("SELFTEST control %s: %.2fs audio, peak %.2f", control->identifier.c_str(),
                             result.seconds, static_cast<double>(result.peak)));
}

void checkEveryVoice(const SelfTestServices& services, SelfTestRenderer& synthesizer,
                     std::vector<SpeechVoice> voices) {
    std::ranges::stable_sort(voices, [](const SpeechVoice& a, const SpeechVoice& b) {
        return std::tie(a.identifier, a.language) < std::tie(b.identifier, b.language);
    });
    std::size_t failures = 0;
    for (const auto& voice : voices) {
        const RenderResult result = synthesizer.render(std::string(Samples::textFor(voice.language)), voice,
                                                       SpeechRate::defaultRate, 1.0f);
        const bool passed = isAudible(result);
        if (!passed) ++failures;
        services.print(formatted("SELFTEST %s %s %s: %.2fs audio, peak %.2f", verdict(passed),
                                 voice.language.c_str(), voice.name.c_str(), result.seconds,
                                 static_cast<double>(result.peak)));
    }
    services.print("SELFTEST done: " + std::to_string(voices.size() - failures) + "/" +
                   std::to_string(voices.size()) + " passed");
}

}  // namespace

void SelfTest::run() { run(SelfTestServices::system()); }

void SelfTest::run(const SelfTestServices& services) {
    services.updateSpeechVoices();
    const std::vector<SpeechVoice> voices = waitForExtensionVoices(services);
    printVoiceCounts(services, voices);

    const auto synthesizer = services.makeSynthesizer();
    renderControl(services, *synthesizer);
    checkEveryVoice(services, *synthesizer, voices);

    auto reference = std::ranges::find_if(
        voices, [](const SpeechVoice& voice) { return voice.identifier.ends_with(referenceSuffix); });
    if (reference == voices.end()) return;
    runSpeechDiagnostics({services, *synthesizer, *reference, voices});
}

}  // namespace velmora
