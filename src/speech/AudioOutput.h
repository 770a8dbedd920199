#pragma once

#include <functional>
#include <memory>
#include <stop_token>

#include "speech/SpeechTypes.h"

namespace velmora {

// Where spoken audio goes: one stream of 32-bit float frames at a fixed rate and channel count.
// Every wait ends early when `stop` is requested.
class AudioOutput {
public:
    virtual ~AudioOutput() = default;
    // Queues the buffer's frames, waiting while the output is full.
    virtual void play(const PcmBuffer& buffer, std::stop_token stop) = 0;
    // Waits until everything queued has been heard.
    virtual void drain(std::stop_token stop) = 0;
    // Drops whatever is queued and not yet heard.
    virtual void discard() = 0;
};

using AudioOutputFactory = std::function<std::unique_ptr<AudioOutput>(int channels, double sampleRate)>;

// The sound server's output (PulseAudio, or PipeWire through it); when no server answers, an
// output that plays nothing but takes the audio's own time, so that callers still learn when
// speech would have ended.
std::unique_ptr<AudioOutput> openAudioOutput(int channels, double sampleRate);

}  // namespace velmora
