#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "PipeWriter.h"

namespace velmora::provider {

// The framed speech stream ("audio/x-spiel"): the version header "0.01", then chunks, each a
// type byte followed by
//   audio (1): a u32 byte count in native byte order and that many S16LE samples;
//   event (2): u8 event type, u32 range start, u32 range end, u32 name length, the name.
// An event stands in the stream before the sample at which it happens.
class FramedStreamWriter {
public:
    // Event types of the stream.
    enum class EventType : std::uint8_t { word = 1, sentence = 2, range = 3, mark = 4 };

    explicit FramedStreamWriter(PipeWriter& pipe) : pipe_(pipe) {}

    // Each returns false once the pipe is broken.
    bool header();
    bool audio(std::span<const std::int16_t> samples);
    bool event(EventType type, std::uint32_t rangeStart, std::uint32_t rangeEnd, std::string_view name);

private:
    PipeWriter& pipe_;
};

}  // namespace velmora::provider
