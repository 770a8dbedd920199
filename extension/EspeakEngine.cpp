#include "EspeakEngine.h"

#include <espeak-ng/espeak_ng.h>
#include <espeak-ng/speak_lib.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <map>
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
    std::ranges::transform(result, result.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return result;
}

// The languages espeak-ng offers, lower-cased: "en-us", "de", "cmn", ...
const std::vector<std::string>& availableLanguages() {
    static const std::vector<std::string> languages = [] {
        std::vector<std::string> result;
        const espeak_VOICE** voices = espeak_ListVoices(nullptr);
        for (int i = 0; voices != nullptr && voices[i] != nullptr; ++i) {
            // Each entry is a priority byte followed by a language name, repeated, ending with 0.
            for (const char* entry = voices[i]->languages; entry != nullptr && *entry != 0;) {
                std::string name(entry + 1);
                entry += name.size() + 2;
                result.push_back(lowercase(name));
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
    const EspeakEngine::SampleSink* sink;
    bool stopped = false;
};

int receiveSamples(short* samples, int count, espeak_EVENT* events) {
    auto* context = static_cast<SynthesisContext*>(events != nullptr ? events->user_data : nullptr);
    if (context == nullptr || samples == nullptr || count <= 0) return context != nullptr && context->stopped;
    if (!context->stopped && !(*context->sink)(std::span<const std::int16_t>(samples, static_cast<std::size_t>(count)))) {
        context->stopped = true;
    }
    return context->stopped ? 1 : 0;
}

}  // namespace

void EspeakEngine::initialise() {
    espeak_ng_InitializePath(nullptr);
    check(espeak_ng_Initialize(nullptr), "espeak-ng cannot start");
    check(espeak_ng_InitializeOutput(ENOUTPUT_MODE_SYNCHRONOUS, 0, nullptr), "espeak-ng cannot produce audio");
    espeak_SetSynthCallback(receiveSamples);
    rate() = espeak_ng_GetSampleRate();
    availableLanguages();
}

int EspeakEngine::sampleRate() {
    return rate();
}

std::string EspeakEngine::languageFor(std::string_view locale) {
    const std::string wanted = lowercase(locale);
    const auto& languages = availableLanguages();
    auto offered = [&](const std::string& name) { return std::ranges::find(languages, name) != languages.end(); };
    if (auto regional = regionalLanguages().find(wanted); regional != regionalLanguages().end() && offered(regional->second)) {
        return regional->second;
    }
    if (offered(wanted)) return wanted;
    const std::string primary = wanted.substr(0, wanted.find('-'));
    if (offered(primary)) return primary;
    return "en";
}

bool EspeakEngine::synthesize(const std::string& text, bool ssml, const std::string& language,
                              const VoiceParameters& voice, const SampleSink& sink) {
    if (espeak_ng_SetVoiceByName((language + "+" + voice.variant).c_str()) != ENS_OK &&
        espeak_ng_SetVoiceByName(language.c_str()) != ENS_OK) {
        return false;
    }
    espeak_SetParameter(espeakRATE, voice.wordsPerMinute, 0);
    espeak_SetParameter(espeakPITCH, voice.pitch, 0);
    espeak_SetParameter(espeakRANGE, voice.pitchRange, 0);
    espeak_SetParameter(espeakWORDGAP, voice.wordGap, 0);

    SynthesisContext context{&sink};
    const unsigned flags = espeakCHARS_UTF8 | (ssml ? espeakSSML : 0u);
    const espeak_ng_STATUS status =
        espeak_ng_Synthesize(text.c_str(), text.size() + 1, 0, POS_CHARACTER, 0, flags, nullptr, &context);
    return status == ENS_OK && !context.stopped;
}

}  // namespace velmora::provider
