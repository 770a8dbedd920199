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
    bool consumed;  // input was taken in during the step
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
        if (result.produced == 0 && !result.consumed)
            throw ZipReader::Failure::corrupt("decompressor made no progress");
    }
}

// Hands a decoder its input piece by piece: a stream in memory in pieces that fit the decoders'
// 32-bit input counters, or whatever a source gives until it gives an empty piece (a source may
// wait for its bytes to arrive).
class InputFeed {
public:
    using Source = std::function<std::span<const std::byte>()>;

    explicit InputFeed(std::span<const std::byte> input)
        : source_([rest = input]() mutable {
              const auto piece = rest.first(std::min<std::size_t>(rest.size(), 0xFFFF'FFFFU));
              rest = rest.subspan(piece.size());
              return piece;
          }) {}
    explicit InputFeed(Source source) : source_(std::move(source)) {}

    // The next piece, or an empty one once the input has ended.
    std::span<const std::byte> next() {
        if (ended_) return {};
        const auto piece = source_();
        ended_ = piece.empty();
        return piece;
    }

private:
    Source source_;
    bool ended_ = false;
};

// ZipReader::inflate's decoder over input that comes from a feed.
void fastInflate(InputFeed& feed, const Emit& emit);

}  // namespace velmora::zip
