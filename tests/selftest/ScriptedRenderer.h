#pragma once

#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "speech/SpeechTypes.h"

namespace velmora::test {

// A stand-in synthesizer: on each write it delivers scripted buffers from a thread of its own.
// The early buffers go out at once; the late ones only after release(), so a test can deliver
// audio after a render has given up waiting. The end of the stream is whatever empty buffer the
// script holds, so a script without one never ends its stream.
class ScriptedRenderer : public AudioRenderer {
public:
    ScriptedRenderer(std::vector<PcmBuffer> early, std::vector<PcmBuffer> late = {});
    ~ScriptedRenderer() override;

    void write(const Utterance& utterance, BufferCallback callback) override;

    // Lets the late buffers go, then waits until the delivering thread has handed over every
    // buffer and dropped the callback.
    void releaseAndJoin();

    int writes() const { return writes_; }
    const std::optional<Utterance>& lastUtterance() const { return lastUtterance_; }

private:
    void deliver(BufferCallback callback);

    std::vector<PcmBuffer> early_;
    std::vector<PcmBuffer> late_;
    int writes_ = 0;
    std::optional<Utterance> lastUtterance_;
    std::mutex mutex_;
    std::condition_variable releasedChanged_;
    bool released_ = false;
    std::thread thread_;
};

// A buffer of interleaved samples.
PcmBuffer pcm(std::vector<float> samples, int channels = 1, double sampleRate = 22050);
// The empty buffer that ends a stream.
PcmBuffer endMarker();

}  // namespace velmora::test
