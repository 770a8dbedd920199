#pragma once

#include <cstddef>
#include <cstdint>

namespace velmora::test {

// The test provider's signal: a saw-tooth whose every value is exact both as a 16-bit sample
// and as a 32-bit float (a multiple of 1/32768), different on each channel.
inline std::int16_t toneValue(std::size_t frame, int channel) {
    return static_cast<std::int16_t>(static_cast<int>((frame * 37 + static_cast<std::size_t>(channel) * 1000) % 2000) - 1000);
}

inline float toneSample(std::size_t frame, int channel) { return static_cast<float>(toneValue(frame, channel)) / 32768.0f; }

}  // namespace velmora::test
