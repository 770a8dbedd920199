#include "UtteranceSpeaker.h"

#include <algorithm>
#include <cmath>
#include <exception>

#include "EspeakEngine.h"
#include "FramedStreamWriter.h"
#include "PhraseMarks.h"
#include "PipeWriter.h"
#include "SpeechData.h"
#include "SsmlForEspeak.h"
#include "SsmlPhrases.h"
#include "StreamListener.h"
#include "VoiceParameters.h"

namespace velmora::provider {
namespace {

// The pause between two phrases: every phrase spoken alone ends with the engine's clause-final
// pause (0.29 to 0.33 s of near silence after the last sound). A break between two phrases
// takes the place of that pause rather than adding to it, so it adds its time less this.
constexpr double phraseGapSeconds = 0.28;

std::size_t samplesFor(double seconds) {
    return static_cast<std::size_t>(std::lround(std::max(seconds, 0.0) * EspeakEngine::sampleRate()));
}

// The silence a break asks for after a phrase (which ends with its own pause) or at the start.
std::size_t breakSamples(std::optional<double> seconds, bool afterPhrase) {
    if (!seconds) return 0;
    return samplesFor(*seconds - (afterPhrase ? phraseGapSeconds : 0.0));
}

SsmlPhrases phrasesOf(const SynthesizeCall& call, const SpeechData& data) {
    const SourceMappedText text(call.text);
    return splitIntoPhrases(call.ssml ? data.rules.applyToSsml(text)
                                      : plainTextAsSsml(data.rules.applyToText(text)));
}

}  // namespace

bool speakInto(int fd, const SynthesizeCall& call) {
    try {
        const SpeechData data = SpeechData::forUtterance(call.voice, call.pitch);
        const SsmlPhrases phrases = phrasesOf(call, data);
        const VoiceParameters voice =
            VoiceParameters::derive(data.fingerprint, data.gender, call.rate, call.pitch);
        const std::string language = EspeakEngine::languageFor(call.language);
        PipeWriter pipe(fd);
        FramedStreamWriter stream(pipe);
        StreamListener listener(stream, call.text, call.ssml);
        if (!stream.header()) return false;
        bool afterPhrase = false;
        for (std::size_t i = 0; i < phrases.phrases.size(); ++i) {
            const SsmlPhrase& phrase = phrases.phrases[i];
            const MarkedPhrase spoken = takeMarks(ssmlForEspeak(phrase.ssml));
            listener.startPhrase(spoken, phrase.continuesSentence);
            // This process ends with the utterance, so the last phrase leaves no engine state
            // behind and is spoken here, sparing a fork before the first sample of a one-phrase
            // utterance (the usual screen-reader message).
            const bool last = i + 1 == phrases.phrases.size();
            const auto speak = last ? EspeakEngine::synthesize : EspeakEngine::synthesizeAlone;
            if (!listener.silence(breakSamples(phrase.breakBefore, afterPhrase)) ||
                !speak(spoken.ssml.text(), language, voice, listener))
                return false;
            afterPhrase = true;
        }
        return listener.silence(breakSamples(phrases.breakAfter, afterPhrase));
    } catch (const std::exception&) {
        // Unreadable compact data or no memory: the stream ends without audio.
        return false;
    }
}

}  // namespace velmora::provider
