#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "speech/SpeechTypes.h"
#include "speech/StreamFormat.h"

namespace velmora {

// Turns the bytes a speech provider writes into 32-bit float frames, as they arrive. Reads
// that split a sample, a chunk header or an event anywhere are fine; events are skipped.
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
};

}  // namespace velmora
