#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "speech/Synthesizer.h"

namespace velmora::test {

// A plain-text utterance with a voice (absent: the system's choice) and default rate and pitch.
inline Utterance utterance(std::string text, std::optional<std::string> voice = std::nullopt) {
    Utterance result;
    result.text = std::move(text);
    result.voiceIdentifier = std::move(voice);
    return result;
}

// What one write() delivered.
struct Render {
    std::vector<float> samples;  // every buffer's samples, in order
    int channels = 0;
    double sampleRate = 0;
    int endBuffers = 0;          // empty buffers seen
    int buffersAfterEnd = 0;     // anything that came after the first empty buffer
    bool ended = false;          // an empty buffer came within the wait

    std::size_t frames() const { return channels > 0 ? samples.size() / static_cast<std::size_t>(channels) : 0; }
};

// Collects the buffers of one write() and waits for its end buffer.
class RenderCapture {
public:
    RenderCapture();
    BufferCallback callback();
    // Waits until the end buffer came (or `limit` passed), then a little longer for strays.
    Render wait(std::chrono::milliseconds limit = std::chrono::seconds(20));

private:
    struct State {
        std::mutex mutex;
        std::condition_variable ended;
        Render render;
    };
    std::shared_ptr<State> state_;
};

// Records delegate calls in order, as "finish:TEXT" and "cancel:TEXT".
class DelegateRecorder : public SynthesizerDelegate {
public:
    void didFinish(const Utterance& utterance) override { record("finish:" + utterance.text); }
    void didCancel(const Utterance& utterance) override { record("cancel:" + utterance.text); }
    // The calls so far, once there are at least `count` of them or `limit` has passed.
    std::vector<std::string> waitFor(std::size_t count, std::chrono::milliseconds limit = std::chrono::seconds(20));

private:
    void record(std::string event);

    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::string> events_;
};

// An audio output factory for tests: the silent real-time output, counting the frames played.
class CountingOutputs {
public:
    AudioOutputFactory factory();
    std::size_t framesPlayed() const;

private:
    struct Shared {
        mutable std::mutex mutex;
        std::size_t frames = 0;
    };
    std::shared_ptr<Shared> shared_ = std::make_shared<Shared>();
};

}  // namespace velmora::test
