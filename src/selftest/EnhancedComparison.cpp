// The extension's promises, proved by listening: renders compared by signature with the pack set
// aside, unreadable and in place.
#include "selftest/EnhancedComparison.h"

#include "selftest/PackUnderTest.h"
#include "selftest/Verdicts.h"

namespace velmora {
namespace {

constexpr const char* sentence = "This is the enhanced voice, downloaded from Apple.";
constexpr float pitched = 1.4f;
constexpr double silentUpTo = 0.3;

struct Renders {
    RenderResult compact;
    RenderResult compactPitched;
    RenderResult unreadable;
    RenderResult enhanced;
    RenderResult enhancedPitched;
};

std::string unreadableLine(const Renders& r) {
    if (!(r.unreadable.seconds > silentUpTo))
        return "ENHANCED FAIL unreadable: the voice went silent when the pack could not be read";
    if (r.unreadable.signature != r.compact.signature)
        return "ENHANCED FAIL unreadable: spoke, but not from the compact data";
    return "ENHANCED PASS unreadable: a pack that cannot be read falls back to the compact voice "
           "instead of going silent";
}

std::string immediateLine(const Renders& r) {
    if (r.enhanced.signature == r.compact.signature)
        return "ENHANCED FAIL immediate: the voice sounds the same with the pack and without";
    return "ENHANCED PASS immediate: the voice speaks from the pack as soon as it is installed, "
           "with no reinstall";
}

std::string pitchLine(const Renders& r, const VoiceRelease& release) {
    const bool fellBack = r.enhancedPitched.signature == r.compactPitched.signature;
    const std::string& label = release.label;
    if (release.enhancedTakesPitch) {
        return fellBack ? "ENHANCED FAIL pitch: " + label +
                              " should shift pitch on the enhanced data, but it fell back to the compact data"
                        : "ENHANCED PASS pitch: " + label +
                              " shifts pitch on the enhanced data, as its engine does";
    }
    return fellBack ? "ENHANCED PASS pitch: " + label +
                          " cannot pitch its enhanced data, so a pitch change is spoken from the compact data"
                    : "ENHANCED FAIL pitch: " + label +
                          " did not fall back to the compact data for a pitch change";
}

}  // namespace

void compareRenders(const EnhancedSelfTestServices& services, const InstalledVoice& pack,
                    const SpeechVoice& voice) {
    const auto& print = services.speech.print;
    const auto synthesizer = services.speech.makeSynthesizer();
    auto render = [&](float pitch) {
        return synthesizer->render(sentence, voice, SpeechRate::defaultRate, pitch);
    };
    Renders r;
    {
        PackUnderTest underTest(pack.directory);
        if (!underTest.setAside()) {
            print("ENHANCED FAIL could not set the pack aside to compare against the compact voice");
            return;
        }
        r.compact = render(1.0f);
        r.compactPitched = render(pitched);
        underTest.putBack();
        underTest.makeHeaderUnreadable();
        r.unreadable = render(1.0f);
        underTest.restoreHeader();
    }
    print(unreadableLine(r));
    r.enhanced = render(1.0f);
    r.enhancedPitched = render(pitched);
    print(formatted("ENHANCED %s spoke %.2fs of audio, peak %.2f", verdict(isAudible(r.enhanced)),
                    r.enhanced.seconds, static_cast<double>(r.enhanced.peak)));
    print(immediateLine(r));
    print(pitchLine(r, pack.release));
}

}  // namespace velmora
