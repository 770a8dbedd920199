#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "speech/SpeechTypes.h"
#include "speech/StreamFormat.h"

namespace velmora {

// An event of a framed stream: where the provider is in the text when the audio reaches `frame`.
struct StreamEvent {
    enum class Type : std::uint8_t { word = 1, sentence = 2, range = 3, mark = 4 };  // others may come

    Type type = Type::word;
    std::uint32_t rangeStart = 0;  // the part of the text it concerns, as the provider counts
    std::uint32_t rangeEnd = 0;
    std::string name;         // a mark's name
    std::uint64_t frame = 0;  // the frames of audio before it in the stream

    bool operator==(const StreamEvent&) const = default;
};

// Turns the bytes a speech provider writes into 32-bit float frames and events, as they arrive.
// Reads that split a sample, a chunk header or an event anywhere are fine.
//
// Framed stream: the version header "0.01", then chunks until end of file:
//   audio: type 1, u32 length (native byte order), then that many sample bytes;
//   event: type 2, u8 event type, u32 range start, u32 range end, u32 name length, then the name.
class StreamParser {
public:
    enum class Status {
        reading,    // more bytes may follow
        complete,   // finish() found the stream ended between samples and chunks
        truncated,  // finish() found the stream cut off inside a sample, chunk or header
        malformed,  // bytes that are not a stream of this format; the rest is ignored
    };

    explicit StreamParser(StreamFormat format);

    // Decodes `bytes` and returns the whole frames they complete (empty when none did), with
    // the stream's channel count and rate. Ignores everything once the stream is malformed.
    PcmBuffer feed(std::span<const std::byte> bytes);
    // The events read since the last call, in stream order.
    std::vector<StreamEvent> takeEvents();
    // Ends the stream: complete, or truncated when it stopped in the middle of something.
    Status finish();

    Status status() const { return status_; }
    // Why the stream is malformed or truncated; empty otherwise.
    const std::string& problem() const { return problem_; }

private:
    enum class Part { header, chunkType, audioLength, audioData, eventRecord, eventName };

    void feedFramed(std::span<const std::byte> bytes, PcmBuffer& out);
    std::size_t takeField(std::span<const std::byte> bytes, std::size_t size);
    void onField();
    void takeSamples(std::span<const std::byte> bytes, PcmBuffer& out);
    void fail(std::string problem);

    StreamFormat format_;
    Status status_ = Status::reading;
    std::string problem_;
    Part part_ = Part::header;
    std::vector<std::byte> field_;    // a fixed-size header or record being gathered
    std::uint64_t remaining_ = 0;     // bytes left in the current audio data or event name
    std::vector<std::byte> partial_;  // the start of a frame whose remaining bytes are still to come
    std::uint64_t frames_ = 0;        // whole frames decoded so far
    StreamEvent event_;               // the event being read
    std::vector<StreamEvent> events_;
};

}  // namespace velmora
