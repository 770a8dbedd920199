#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <memory>
#include <span>

#include "zip/ZipReader.h"

namespace velmora::zip {

enum class StepStatus { progressing, ended, failed };

struct StepResult {
    StepStatus status;
    std::size_t produced;
};

using Emit = std::function<void(std::span<const std::byte>)>;

// Runs a raw DEFLATE decoder to the end of its stream through one output buffer of
// ZipReader::stepSize bytes, handing each step's output to `emit` before the next step
// overwrites it. `Decoder::step(std::span<std::byte>)` decodes into the span and reports.
template <class Decoder>
void runInflateSteps(Decoder& decoder, const Emit& emit) {
    const auto buffer = std::make_unique_for_overwrite<std::byte[]>(ZipReader::stepSize);
    const std::span<std::byte> output(buffer.get(), ZipReader::stepSize);
    for (;;) {
        const StepResult result = decoder.step(output);
        if (result.status == StepStatus::failed) throw ZipReader::Failure::corrupt("compressed data");
        if (result.produced > 0) emit(output.first(result.produced));
        if (result.status == StepStatus::ended) return;
        if (result.produced == 0) throw ZipReader::Failure::corrupt("decompressor made no progress");
    }
}

// Hands out a long input in pieces that fit the decoders' 32-bit input counters.
class InputFeed {
public:
    explicit InputFeed(std::span<const std::byte> input) : rest_(input) {}

    bool empty() const { return rest_.empty(); }
    std::span<const std::byte> next() {
        const std::size_t size = std::min<std::size_t>(rest_.size(), 0xFFFF'FFFFU);
        const auto piece = rest_.first(size);
        rest_ = rest_.subspan(size);
        return piece;
    }

private:
    std::span<const std::byte> rest_;
};

}  // namespace velmora::zip
