#include "speech/StreamParser.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace velmora {
namespace {

constexpr std::string_view versionHeader = "0.01";
constexpr std::size_t headerSize = 4;
constexpr std::size_t chunkTypeSize = 1;
constexpr std::size_t lengthSize = 4;
// Event record: u8 event type, u32 range start, u32 range end, u32 mark-name length.
constexpr std::size_t eventRecordSize = 13;
constexpr std::size_t eventNameLengthOffset = 9;
// Longer mark names are cut here: the stream goes on, the memory stays bounded.
constexpr std::size_t maximumEventName = 4096;
constexpr std::byte audioChunk{1};
constexpr std::byte eventChunk{2};

std::uint32_t nativeU32(const std::byte* bytes) {
    std::uint32_t value = 0;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

}  // namespace

StreamParser::StreamParser(StreamFormat format) : format_(format) {
    if (!format_.framed) part_ = Part::audioData;
}

PcmBuffer StreamParser::feed(std::span<const std::byte> bytes) {
    PcmBuffer out{{}, format_.channels, format_.sampleRate};
    if (status_ != Status::reading) return out;
    if (format_.framed)
        feedFramed(bytes, out);
    else
        takeSamples(bytes, out);
    return out;
}

void StreamParser::feedFramed(std::span<const std::byte> bytes, PcmBuffer& out) {
    while (!bytes.empty() && status_ == Status::reading) {
        std::size_t used = 0;
        switch (part_) {
            case Part::header:
                used = takeField(bytes, headerSize);
                break;
            case Part::chunkType:
                used = takeField(bytes, chunkTypeSize);
                break;
            case Part::audioLength:
                used = takeField(bytes, lengthSize);
                break;
            case Part::eventRecord:
                used = takeField(bytes, eventRecordSize);
                break;
            case Part::audioData:
            case Part::eventName:
                used = static_cast<std::size_t>(std::min<std::uint64_t>(remaining_, bytes.size()));
                if (part_ == Part::audioData) takeSamples(bytes.first(used), out);
                if (part_ == Part::eventName) {
                    const std::size_t kept = std::min(used, maximumEventName - event_.name.size());
                    event_.name.append(reinterpret_cast<const char*>(bytes.data()), kept);
                }
                remaining_ -= used;
                if (remaining_ == 0 && part_ == Part::eventName) events_.push_back(std::move(event_));
                if (remaining_ == 0) part_ = Part::chunkType;
                break;
        }
        bytes = bytes.subspan(used);
    }
}

// Gathers up to `size` bytes of a fixed-size field; once it is whole, acts on it.
std::size_t StreamParser::takeField(std::span<const std::byte> bytes, std::size_t size) {
    const std::size_t used = std::min(size - field_.size(), bytes.size());
    field_.insert(field_.end(), bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(used));
    if (field_.size() == size) {
        onField();
        field_.clear();
    }
    return used;
}

void StreamParser::onField() {
    switch (part_) {
        case Part::header:
            if (std::memcmp(field_.data(), versionHeader.data(), headerSize) != 0)
                return fail("unknown stream version");
            part_ = Part::chunkType;
            break;
        case Part::chunkType:
            if (field_[0] == audioChunk)
                part_ = Part::audioLength;
            else if (field_[0] == eventChunk)
                part_ = Part::eventRecord;
            else
                return fail(std::string("unknown chunk type ")
                                .append(std::to_string(std::to_integer<int>(field_[0]))));
            break;
        case Part::audioLength:
            remaining_ = nativeU32(field_.data());
            part_ = remaining_ == 0 ? Part::chunkType : Part::audioData;
            break;
        case Part::eventRecord:
            event_ = {static_cast<StreamEvent::Type>(field_[0]),
                      nativeU32(field_.data() + 1),
                      nativeU32(field_.data() + 5),
                      {},
                      frames_};
            remaining_ = nativeU32(field_.data() + eventNameLengthOffset);
            part_ = remaining_ == 0 ? Part::chunkType : Part::eventName;
            if (remaining_ == 0) events_.push_back(std::move(event_));
            break;
        case Part::audioData:
        case Part::eventName:
            break;
    }
}

// Appends the whole frames that `bytes` completes; keeps the start of an unfinished frame.
void StreamParser::takeSamples(std::span<const std::byte> bytes, PcmBuffer& out) {
    const std::size_t frameSize = format_.bytesPerFrame();
    const std::size_t sampleSize = format_.bytesPerSample();
    std::vector<std::byte> joined;
    if (!partial_.empty()) {
        joined.reserve(partial_.size() + bytes.size());
        joined.insert(joined.end(), partial_.begin(), partial_.end());
        joined.insert(joined.end(), bytes.begin(), bytes.end());
        bytes = joined;
    }
    const std::size_t whole = bytes.size() / frameSize * frameSize;
    out.samples.reserve(out.samples.size() + whole / sampleSize);
    for (std::size_t offset = 0; offset < whole; offset += sampleSize)
        out.samples.push_back(format_.sample.decode(bytes.data() + offset));
    frames_ += whole / frameSize;
    partial_.assign(bytes.begin() + static_cast<std::ptrdiff_t>(whole), bytes.end());
}

std::vector<StreamEvent> StreamParser::takeEvents() { return std::exchange(events_, {}); }

StreamParser::Status StreamParser::finish() {
    if (status_ != Status::reading) return status_;
    const bool betweenChunks = !format_.framed || part_ == Part::chunkType;
    if (!partial_.empty()) {
        status_ = Status::truncated;
        problem_ = "the stream ended inside a sample frame";
    } else if (!betweenChunks || !field_.empty()) {
        status_ = Status::truncated;
        problem_ = part_ == Part::header ? "the stream ended before its version header"
                                         : "the stream ended inside a chunk";
    } else {
        status_ = Status::complete;
    }
    return status_;
}

void StreamParser::fail(std::string problem) {
    status_ = Status::malformed;
    problem_ = std::move(problem);
}

}  // namespace velmora
