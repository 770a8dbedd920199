#pragma once

#include "selftest/RenderResult.h"

namespace velmora {

// The word a suite's line judges with.
inline const char* verdict(bool passed) { return passed ? "PASS" : "FAIL"; }

// A render that a listener would hear: more than 0.3 s of audio, louder than 0.05 at its peak.
// A NaN measurement is not audible.
inline bool isAudible(const RenderResult& result) { return result.seconds > 0.3 && result.peak > 0.05f; }

}  // namespace velmora
