#pragma once

#include <memory>

#include "speech/AudioOutput.h"

struct pa_simple;

namespace velmora {

// A playback stream on the sound server through the PulseAudio simple API. The server keeps
// about a tenth of a second queued, which bounds how long drain() and a stop can take.
class PulseOutput : public AudioOutput {
public:
    // Connects; null when no sound server answers.
    static std::unique_ptr<PulseOutput> open(int channels, double sampleRate);
    ~PulseOutput() override;

    void play(const PcmBuffer& buffer, std::stop_token stop) override;
    void drain(std::stop_token stop) override;
    void discard() override;

private:
    PulseOutput(pa_simple* stream, int channels, double sampleRate);

    pa_simple* stream_;
    int channels_;
    double sampleRate_;
};

}  // namespace velmora
