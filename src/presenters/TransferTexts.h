#pragma once

#include <cstdint>
#include <string>

namespace velmora {

// The progress line of a download on a terminal, in decimal megabytes:
// "12.4 of 30.0 MB, 5.1 MB/s, 3 s left". The rate and the time left are left out while the rate
// is not known yet (zero or negative); the total is left out when it is unknown (zero or less).
std::string transferProgressText(std::int64_t done, std::int64_t total, double bytesPerSecond);

// The time left, seconds rounded, minutes rounded up: "3 s left", "4 min left", "2 h 5 min left".
std::string timeLeftText(double seconds);

}  // namespace velmora
