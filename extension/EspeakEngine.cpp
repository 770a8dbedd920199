#include "EspeakEngine.h"

#include <espeak-ng/espeak_ng.h>
#include <espeak-ng/speak_lib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <map>
#include <optional>
#include <stdexcept>
#include <vector>

namespace velmora::provider {
namespace {

int& rate() {
    static int value = 0;
    return value;
}

std::string statusMessage(espeak_ng_STATUS status) {
    std::array<char, 512> text{};
    espeak_ng_GetStatusCodeMessage(status, text.data(), text.size());
    return text.data();
}

void check(espeak_ng_STATUS status, const char* step) {
    if (status != ENS_OK) throw std::runtime_error(std::string(step) + ": " + statusMessage(status));
}

std::string lowercase(std::string_view text) {
    std::string result(text);
    std::ranges::transform(result, result.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return result;
}

// The languages espeak-ng offers, lower-cased ("en-us", "de", "cmn", ...), each with the
// identifier of the voice file that speaks it ("gmw/en-US", "gmw/de", "sit/cmn", ...).
const std::map<std::string, std::string, std::less<>>& availableLanguages() {
    static const std::map<std::string, std::string, std::less<>> languages = [] {
        std::map<std::string, std::string, std::less<>> result;
        const espeak_VOICE** voices = espeak_ListVoices(nullptr);
        for (int i = 0; voices != nullptr && voices[i] != nullptr; ++i) {
            if (voices[i]->identifier == nullptr) continue;
            // Each entry is a priority byte followed by a language name, repeated, ending with 0.
            for (const char* entry = voices[i]->languages; entry != nullptr && *entry != 0;) {
                std::string name(entry + 1);
                entry += name.size() + 2;
                result.emplace(lowercase(name), voices[i]->identifier);
            }
        }
        return result;
    }();
    return languages;
}

// Chinese locales name their spoken language by region, which espeak-ng names otherwise.
const std::map<std::string, std::string, std::less<>>& regionalLanguages() {
    static const std::map<std::string, std::string, std::less<>> table{
        {"zh-cn", "cmn"}, {"zh-tw", "cmn"}, {"zh-hk", "yue"}, {"es-mx", "es-419"}};
    return table;
}

struct SynthesisContext {
    EngineListener* listener;
    std::size_t samplesSent = 0;
    bool stopped = false;
};

std::optional<EngineEvent> engineEvent(const espeak_EVENT& event) {
    EngineEvent result;
    switch (event.type) {
        case espeakEVENT_WORD:
            // espeak-ng ends some clauses with a word of no characters, after the audio.
            if (event.length <= 0) return std::nullopt;
            result.kind = EngineEvent::Kind::word;
            break;
        case espeakEVENT_SENTENCE:
            result.kind = EngineEvent::Kind::sentence;
            break;
        case espeakEVENT_MARK:
            result.kind = EngineEvent::Kind::mark;
            if (event.id.name != nullptr) result.name = event.id.name;
            break;
        default:
            return std::nullopt;
    }
    // espeak-ng counts characters from 1.
    result.textPosition = event.text_position > 0 ? static_cast<std::size_t>(event.text_position - 1) : 0;
    result.length = event.length > 0 ? static_cast<std::size_t>(event.length) : 0;
    return result;
}

// Sends the samples of `block` (whose first sample is number `first` of the utterance) up to
// sample number `end`.
bool sendUpTo(SynthesisContext& context, std::span<const std::int16_t> samples, std::size_t first,
              std::size_t end) {
    if (end <= context.samplesSent) return true;
    const auto part = samples.subspan(context.samplesSent - first, end - context.samplesSent);
    context.samplesSent = end;
    return context.listener->samples(part);
}

// One block of samples with the events that happen within it, each at its sample; an event
// before the block goes first, one after it last.
int receiveSamples(short* samples, int count, espeak_EVENT* events) {
    auto* context = static_cast<SynthesisContext*>(events != nullptr ? events->user_data : nullptr);
    if (context == nullptr || context->stopped) return context != nullptr ? 1 : 0;
    const std::size_t first = context->samplesSent;
    const std::span<const std::int16_t> block(samples, samples != nullptr && count > 0 ? count : 0);
    const std::size_t end = first + block.size();
    for (const espeak_EVENT* event = events; event->type != espeakEVENT_LIST_TERMINATED; ++event) {
        const auto reported = engineEvent(*event);
        if (!reported) continue;
        const std::size_t at = std::clamp<std::size_t>(static_cast<std::size_t>(std::max(event->sample, 0)),
                                                       context->samplesSent, end);
        if (!sendUpTo(*context, block, first, at) || !context->listener->event(*reported)) {
            context->stopped = true;
            return 1;
        }
    }
    if (!sendUpTo(*context, block, first, end)) context->stopped = true;
    return context->stopped ? 1 : 0;
}

}  // namespace

void EspeakEngine::initialise() {
    espeak_ng_InitializePath(nullptr);
    check(espeak_ng_Initialize(nullptr), "espeak-ng cannot start");
    check(espeak_ng_InitializeOutput(ENOUTPUT_MODE_SYNCHRONOUS, 0, nullptr),
          "espeak-ng cannot produce audio");
    espeak_SetSynthCallback(receiveSamples);
    rate() = espeak_ng_GetSampleRate();
    availableLanguages();
}

int EspeakEngine::sampleRate() { return rate(); }

std::string EspeakEngine::languageFor(std::string_view locale) {
    const std::string wanted = lowercase(locale);
    const auto& languages = availableLanguages();
    auto offered = [&](const std::string& name) { return languages.contains(name); };
    if (auto regional = regionalLanguages().find(wanted);
        regional != regionalLanguages().end() && offered(regional->second)) {
        return regional->second;
    }
    if (offered(wanted)) return wanted;
    const std::string primary = wanted.substr(0, wanted.find('-'));
    if (offered(primary)) return primary;
    return "en";
}

bool EspeakEngine::synthesize(const std::string& ssml, const std::string& language,
                              const VoiceParameters& voice, EngineListener& listener) {
    auto file = availableLanguages().find(language);
    if (file == availableLanguages().end() ||
        espeak_ng_SetVoiceByName((file->second + "+" + voice.variant).c_str()) != ENS_OK) {
        return false;
    }
    espeak_SetParameter(espeakRATE, voice.wordsPerMinute, 0);
    espeak_SetParameter(espeakPITCH, voice.pitch, 0);
    espeak_SetParameter(espeakRANGE, voice.pitchRange, 0);
    espeak_SetParameter(espeakWORDGAP, voice.wordGap, 0);

    SynthesisContext context{&listener};
    const unsigned flags = espeakCHARS_UTF8 | espeakSSML;
    const espeak_ng_STATUS status =
        espeak_ng_Synthesize(ssml.c_str(), ssml.size() + 1, 0, POS_CHARACTER, 0, flags, nullptr, &context);
    return status == ENS_OK && !context.stopped && listener.end();
}

bool EspeakEngine::synthesizeAlone(const std::string& ssml, const std::string& language,
                                   const VoiceParameters& voice, EngineListener& listener) {
    const pid_t child = ::fork();
    if (child < 0) return false;
    if (child == 0) ::_exit(synthesize(ssml, language, voice, listener) ? 0 : 1);
    int status = 0;
    while (::waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) return false;
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace velmora::provider
