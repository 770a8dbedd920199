#pragma once

namespace velmora {

// The platform's speech rate (0.0 slowest, 0.5 normal, 1.0 fastest) on a speech provider's
// scale, where 1.0 is normal speed: 4^(2 * rate - 1), so 0.0 is a quarter of normal speed,
// 0.25 half, 0.75 double and 1.0 four times. Equal steps of the platform scale give equal
// ratios of speed. Rates outside the scale are clamped to it; a non-finite rate is normal.
double providerRate(float rate);

// The pitch multiplier passes through (1.0 normal); a non-finite or non-positive one is 1.0.
double providerPitch(float pitchMultiplier);

}  // namespace velmora
