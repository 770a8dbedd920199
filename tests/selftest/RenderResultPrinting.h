#pragma once

#include <ostream>

#include "selftest/RenderResult.h"

namespace velmora {

// Lets failed comparisons show every field.
inline void PrintTo(const RenderResult& result, std::ostream* out) {
    *out << "{seconds " << result.seconds << ", peak " << result.peak << ", latency " << result.latency
         << ", signature " << result.signature << "}";
}

}  // namespace velmora
