#include "EspeakEngine.h"

#include <espeak-ng/espeak_ng.h>
#include <espeak-ng/speak_lib.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstdlib>
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

// espeak-ng reads a time with a fraction, such as time="1.5s", as its whole part in milliseconds
// (1 ms); written in milliseconds, time="1500ms", it is read right. Rewrites such values.
std::size_t skipBlanks(std::string_view text, std::size_t at) {
    while (at < text.size() && (text[at] == ' ' || text[at] == '\t' || text[at] == '\n' || text[at] == '\r'))
        ++at;
    return at;
}

std::size_t skipDigits(std::string_view text, std::size_t at) {
    while (at < text.size() && std::isdigit(static_cast<unsigned char>(text[at]))) ++at;
    return at;
}

std::string withTimesInMilliseconds(std::string_view ssml) {
    std::string result;
    std::size_t copied = 0;
    for (std::size_t at = ssml.find("time"); at != std::string_view::npos; at = ssml.find("time", at + 1)) {
        std::size_t p = skipBlanks(ssml, at + 4);
        if (p >= ssml.size() || ssml[p] != '=') continue;
        p = skipBlanks(ssml, p + 1);
        if (p >= ssml.size() || (ssml[p] != '"' && ssml[p] != '\'')) continue;
        const std::size_t numberStart = skipBlanks(ssml, p + 1);
        const std::size_t point = skipDigits(ssml, numberStart);
        const std::size_t numberEnd = skipDigits(ssml, point + 1);
        if (point >= ssml.size() || ssml[point] != '.' || numberEnd == point + 1 ||
            numberEnd - numberStart > 12)
            continue;
        const std::size_t unit = skipBlanks(ssml, numberEnd);
        if (unit >= ssml.size() || ssml[unit] != 's') continue;
        const double seconds =
            std::strtod(std::string(ssml.substr(numberStart, numberEnd - numberStart)).c_str(), nullptr);
        result.append(ssml.substr(copied, numberStart - copied));
        result += std::to_string(std::lround(seconds * 1000.0)) + "ms";
        copied = unit + 1;
    }
    result.append(ssml.substr(copied));
    return result;
}

struct SynthesisContext {
    const EspeakEngine::SampleSink* sink;
    bool stopped = false;
};

int receiveSamples(short* samples, int count, espeak_EVENT* events) {
    auto* context = static_cast<SynthesisContext*>(events != nullptr ? events->user_data : nullptr);
    if (context == nullptr || samples == nullptr || count <= 0) return context != nullptr && context->stopped;
    if (!context->stopped &&
        !(*context->sink)(std::span<const std::int16_t>(samples, static_cast<std::size_t>(count)))) {
        context->stopped = true;
    }
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

bool EspeakEngine::synthesize(const std::string& text, bool ssml, const std::string& language,
                              const VoiceParameters& voice, const SampleSink& sink) {
    auto file = availableLanguages().find(language);
    if (file == availableLanguages().end() ||
        espeak_ng_SetVoiceByName((file->second + "+" + voice.variant).c_str()) != ENS_OK) {
        return false;
    }
    espeak_SetParameter(espeakRATE, voice.wordsPerMinute, 0);
    espeak_SetParameter(espeakPITCH, voice.pitch, 0);
    espeak_SetParameter(espeakRANGE, voice.pitchRange, 0);
    espeak_SetParameter(espeakWORDGAP, voice.wordGap, 0);

    SynthesisContext context{&sink};
    const std::string input = ssml ? withTimesInMilliseconds(text) : text;
    const unsigned flags = espeakCHARS_UTF8 | (ssml ? espeakSSML : 0u);
    const espeak_ng_STATUS status =
        espeak_ng_Synthesize(input.c_str(), input.size() + 1, 0, POS_CHARACTER, 0, flags, nullptr, &context);
    return status == ENS_OK && !context.stopped;
}

}  // namespace velmora::provider
