#include "speech/PulseOutput.h"

#include <pulse/simple.h>

#include <algorithm>
#include <cmath>

#include "speech/NullOutput.h"

namespace velmora {
namespace {

constexpr double queuedSeconds = 0.1;
// Frames are written in slices of this length, so that a stop is noticed between them.
constexpr double sliceSeconds = 0.02;

}  // namespace

std::unique_ptr<PulseOutput> PulseOutput::open(int channels, double sampleRate) {
    if (channels < 1 || channels > static_cast<int>(PA_CHANNELS_MAX) ||
        !(sampleRate >= 1 && sampleRate <= PA_RATE_MAX))
        return nullptr;
    const pa_sample_spec sampleFormat{PA_SAMPLE_FLOAT32LE,
                                      static_cast<std::uint32_t>(std::lround(sampleRate)),
                                      static_cast<std::uint8_t>(channels)};
    const auto frameBytes = static_cast<std::uint32_t>(sizeof(float) * static_cast<std::size_t>(channels));
    const auto queuedBytes = static_cast<std::uint32_t>(std::ceil(sampleRate * queuedSeconds)) * frameBytes;
    const pa_buffer_attr attributes{static_cast<std::uint32_t>(-1), queuedBytes,
                                    static_cast<std::uint32_t>(-1), static_cast<std::uint32_t>(-1),
                                    static_cast<std::uint32_t>(-1)};
    int error = 0;
    pa_simple* stream = pa_simple_new(nullptr, "Velmora", PA_STREAM_PLAYBACK, nullptr, "Speech",
                                      &sampleFormat, nullptr, &attributes, &error);
    if (!stream) return nullptr;
    return std::unique_ptr<PulseOutput>(new PulseOutput(stream, channels, sampleRate));
}

PulseOutput::PulseOutput(pa_simple* stream, int channels, double sampleRate)
    : stream_(stream), channels_(channels), sampleRate_(sampleRate) {}

PulseOutput::~PulseOutput() { pa_simple_free(stream_); }

void PulseOutput::play(const PcmBuffer& buffer, std::stop_token stop) {
    const std::size_t sliceSamples =
        std::max<std::size_t>(1, static_cast<std::size_t>(sampleRate_ * sliceSeconds)) *
        static_cast<std::size_t>(channels_);
    int error = 0;
    for (std::size_t offset = 0; offset < buffer.samples.size() && !stop.stop_requested();
         offset += sliceSamples) {
        const std::size_t count = std::min(sliceSamples, buffer.samples.size() - offset);
        if (pa_simple_write(stream_, buffer.samples.data() + offset, count * sizeof(float), &error) < 0)
            return;
    }
}

void PulseOutput::drain(std::stop_token stop) {
    int error = 0;
    if (!stop.stop_requested()) pa_simple_drain(stream_, &error);
}

void PulseOutput::discard() {
    int error = 0;
    pa_simple_flush(stream_, &error);
}

std::unique_ptr<AudioOutput> openAudioOutput(int channels, double sampleRate) {
    if (auto pulse = PulseOutput::open(channels, sampleRate)) return pulse;
    return std::make_unique<NullOutput>();
}

}  // namespace velmora
