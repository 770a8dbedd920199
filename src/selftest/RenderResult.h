#pragma once

#include <cstdint>

namespace velmora {

// What a render produced, measured on channel 0. The default value is the empty result: no
// audio, no audible sample.
struct RenderResult {
    double seconds = 0;           // frames received divided by the last buffer's sample rate
    float peak = 0;               // largest absolute sample, full scale 1.0
    double latency = -1.0;        // seconds from the start to the first sample above 0.01; -1 if none
    std::uint64_t signature = 0;  // running hash of the samples, telling two renders apart

    bool operator==(const RenderResult&) const = default;
};

}  // namespace velmora
