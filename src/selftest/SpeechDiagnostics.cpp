// The diagnostics of the extension's engine, on its reference voice: how soon speech starts,
// how duration follows the rate, how SSML is timed, whether pronunciation rules apply, and two
// renders written to files for a person to listen to.
#include "selftest/SpeechDiagnostics.h"

#include <cmath>
#include <string_view>

#include "selftest/Verdicts.h"

namespace velmora {
namespace {

constexpr const char* latencyTexts[] = {"Mail, 3 unread messages.", "Button. Double-tap to open.", "Settings",
                                        "Heading level 1."};

constexpr const char* sweepText = "The quick brown fox jumps over the lazy dog.";
constexpr float sweepRates[] = {SpeechRate::minimum, 0.25f, SpeechRate::defaultRate, 0.75f,
                                SpeechRate::maximum};

struct SentencePartsCase {
    const char* ssml;
    std::vector<std::string> parts;
};
const SentencePartsCase sentencePartsCases[] = {
    {R"(<speak><prosody rate="100%"><s>VAL</s><s>Beta</s><s><break time="0.0ms"/></s></prosody></speak>)",
     {"VAL", "Beta"}},
    {"<speak><s>General</s><s>Button</s></speak>", {"General", "Button"}},
    {"<speak><s>Airplane Mode</s><s>Switch button</s><s>off</s></speak>",
     {"Airplane Mode", "Switch button", "off"}},
    {"<speak><s>Settings</s><s>2 new items</s></speak>", {"Settings", "2 new items"}},
    {R"(<speak>Airplane Mode<break time="0.0ms"/>Switch button<break/>off</speak>)",
     {"Airplane Mode", "Switch button", "off"}},
};
constexpr double partsTolerance = 0.02;
constexpr double pausePerBoundary = 0.15;

constexpr const char* voiceElementsSsml =
    R"(<speak><lang xml:lang="en"><voice name="">Log Out Halden</voice><voice name="">ellipsis</voice>)"
    R"(<voice name="">Command Shift <say-as interpret-as="characters">q</say-as></voice></lang></speak>)";
constexpr const char* voiceElementsReference = "Log Out Halden ellipsis Command Shift q";
constexpr double voiceElementsTolerance = 0.03;

constexpr const char* withoutBreakSsml = "<speak><s>Hello</s><s>world</s></speak>";
constexpr const char* withBreakSsml = R"(<speak>Hello<break time="1.5s"/>world</speak>)";
constexpr double breakAdds = 1.22;
constexpr double breakTolerance = 0.03;

constexpr std::pair<const char*, const char*> pronunciationPairs[] = {
    {"Mac OS X", "Mac OS ten "},
    {"Panic! At the Disco", "Panic At the Disco"},
    {"Update iOS today", "Update I O S today"},
    {"ios", "I O S"},
};
constexpr double pronunciationTolerance = 0.002;

constexpr const char* firstDumpName = "selftest-samantha.caf";
constexpr const char* firstDumpText =
    "Hello! This is Samantha, from iOS four. VoiceOver on, twelve new messages from Doctor Smith.";
constexpr const char* secondDumpName = "selftest-samantha-ios7.caf";
constexpr std::string_view secondDumpVoiceMarker = ".voice.ios7.en-US.";

// Every comparison below is written so that a NaN makes it false, and so a FAIL.
bool partsPass(double ssml, double sum, std::size_t parts) {
    const double upper = sum + static_cast<double>(parts - 1) * pausePerBoundary + partsTolerance;
    return sum - partsTolerance <= ssml && ssml <= upper;
}

class Diagnostics {
public:
    explicit Diagnostics(const SpeechDiagnosticsRun& run) : run_(run) {}

    void latency() {
        for (const char* text : latencyTexts) {
            const RenderResult result = plain(text);
            print(formatted("SELFTEST latency %.0f ms to first audible sample (%.2fs audio) for \"%s\"",
                            result.latency * 1000, result.seconds, text));
        }
    }

    void rateSweep() {
        for (float rate : sweepRates) {
            const RenderResult result = run_.synthesizer.render(sweepText, voice(), rate, 1.0f);
            print(formatted("SELFTEST rate %.2f -> %.2fs audio", static_cast<double>(rate), result.seconds));
        }
    }

    void sentenceParts() {
        for (const auto& [ssml, parts] : sentencePartsCases) {
            double sum = 0;
            for (const auto& part : parts) sum += plain(part).seconds;
            const double spoken = run_.synthesizer.renderSsml(ssml, voice()).seconds;
            print(formatted("SELFTEST parts %s %s: %.2fs, parts spoken separately %.2fs",
                            verdict(partsPass(spoken, sum, parts.size())), joined(parts, " | ").c_str(),
                            spoken, sum));
        }
    }

    void voiceElements() {
        const double spoken = run_.synthesizer.renderSsml(voiceElementsSsml, voice()).seconds;
        const double reference = plain(voiceElementsReference).seconds;
        const bool passed = std::abs(spoken - reference) < voiceElementsTolerance;
        print(formatted("SELFTEST voices %s <voice> parts: %.2fs, reference \"%s\" %.2fs", verdict(passed),
                        spoken, voiceElementsReference, reference));
    }

    void breaks() {
        const double without = run_.synthesizer.renderSsml(withoutBreakSsml, voice()).seconds;
        const double with = run_.synthesizer.renderSsml(withBreakSsml, voice()).seconds;
        const bool passed = std::abs(with - (without + breakAdds)) < breakTolerance;
        print(formatted("SELFTEST breaks %s 1.5s break: %.2fs, expected %.2fs + 1.22s = %.2fs",
                        verdict(passed), with, without, without + breakAdds));
    }

    void pronunciationRules() {
        for (const auto& [written, spoken] : pronunciationPairs) {
            const double writtenSeconds = plain(written).seconds;
            const double spokenSeconds = plain(spoken).seconds;
            const bool passed = std::abs(writtenSeconds - spokenSeconds) < pronunciationTolerance;
            print(formatted("SELFTEST rules %s \"%s\" %.3fs == \"%s\" %.3fs", verdict(passed), written,
                            writtenSeconds, spoken, spokenSeconds));
        }
    }

    void dumps() {
        dump(run_.reference, firstDumpText, firstDumpName);
        for (const auto& candidate : run_.extensionVoices) {
            if (candidate.identifier.find(secondDumpVoiceMarker) == std::string::npos) continue;
            dump(candidate, sweepText, secondDumpName);
            return;
        }
    }

private:
    const SpeechVoice& voice() const { return run_.reference; }
    void print(const std::string& line) const { run_.services.print(line); }

    RenderResult plain(const std::string& text) {
        return run_.synthesizer.render(text, voice(), SpeechRate::defaultRate, 1.0f);
    }

    void dump(const SpeechVoice& speaker, const char* text, const char* fileName) {
        const auto file = run_.services.temporaryDirectory / fileName;
        run_.synthesizer.render(text, speaker, SpeechRate::defaultRate, 1.0f, file);
        print("SELFTEST dumped " + file.string());
    }

    const SpeechDiagnosticsRun& run_;
};

}  // namespace

void runSpeechDiagnostics(const SpeechDiagnosticsRun& run) {
    Diagnostics diagnostics(run);
    diagnostics.latency();
    diagnostics.rateSweep();
    diagnostics.sentenceParts();
    diagnostics.voiceElements();
    diagnostics.breaks();
    diagnostics.pronunciationRules();
    diagnostics.dumps();
}

}  // namespace velmora
