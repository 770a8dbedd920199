#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace velmora {

// One voice as the speech system lists it.
struct SpeechVoice {
    std::string identifier;
    std::string name;
    std::string language;    // BCP 47 tag, such as "en-US"
    std::string provider{};  // the bus name of the speech provider that offers it

    bool operator==(const SpeechVoice&) const = default;
};

// Speech rates on the platform's scale.
struct SpeechRate {
    static constexpr float minimum = 0.0f;
    static constexpr float defaultRate = 0.5f;
    static constexpr float maximum = 1.0f;
};

// What to say and how: plain text or SSML, with a voice, a rate and a pitch multiplier.
struct Utterance {
    std::string text;
    bool isSsml = false;
    std::optional<std::string> voiceIdentifier;  // absent: the system's choice
    std::string voiceProvider{};  // the provider of that voice; empty: the first that offers it
    float rate = SpeechRate::defaultRate;
    float pitchMultiplier = 1.0f;

    // Speaks with a listed voice, through the provider that listed it: two providers may offer
    // the same identifier.
    void useVoice(const SpeechVoice& voice) {
        voiceIdentifier = voice.identifier;
        voiceProvider = voice.provider;
    }
};

// A piece of rendered audio: 32-bit float samples, channels interleaved. An empty buffer
// (frameCount() == 0) marks the end of an utterance's stream.
struct PcmBuffer {
    std::vector<float> samples;
    int channels = 1;
    double sampleRate = 22050;

    std::size_t frameCount() const {
        return channels > 0 ? samples.size() / static_cast<std::size_t>(channels) : 0;
    }
};

using BufferCallback = std::function<void(const PcmBuffer&)>;

// Renders an utterance into buffers, delivered on a thread of the renderer's own and ended by
// an empty buffer. The synthesizer implements it; the render harness depends only on this.
class AudioRenderer {
public:
    virtual ~AudioRenderer() = default;
    virtual void write(const Utterance& utterance, BufferCallback callback) = 0;
};

}  // namespace velmora
