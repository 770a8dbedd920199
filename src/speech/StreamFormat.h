#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace velmora {

// How one sample is stored, as the format names of raw audio say it: "S16LE", "U8", "F64BE"...
struct SampleFormat {
    enum class Kind { signedInteger, unsignedInteger, floatingPoint };

    Kind kind = Kind::signedInteger;
    int bits = 16;  // 8, 16, 24 or 32; 32 or 64 for floating point
    bool bigEndian = false;

    bool operator==(const SampleFormat&) const = default;

    static constexpr SampleFormat s16le() { return {}; }
    static constexpr SampleFormat f32le() { return {Kind::floatingPoint, 32, false}; }

    // The format a name stands for: signed (S) or unsigned (U) 8, 16, 24 (packed in three bytes)
    // or 32 bits, floating point (F) 32 or 64 bits, little (LE) or big (BE) endian; 8-bit names
    // have no byte order.
    static std::optional<SampleFormat> named(std::string_view name);

    std::size_t bytes() const { return static_cast<std::size_t>(bits) / 8; }
    // The sample at `bytes` on the scale of 32-bit float audio: full scale is -1 to 1.
    float decode(const std::byte* bytes) const;
};

struct FormatReading;

// The audio a speech provider writes for one voice, as its output-format text names it:
// "audio/x-raw,format=S16LE,channels=1,rate=22050" for bare samples, or the same keys after
// "audio/x-spiel" for the framed stream with its version header and audio and event chunks.
struct StreamFormat {
    bool framed = false;
    SampleFormat sample;
    int channels = 1;
    double sampleRate = 22050;

    bool operator==(const StreamFormat&) const = default;

    std::size_t bytesPerSample() const { return sample.bytes(); }
    std::size_t bytesPerFrame() const { return bytesPerSample() * static_cast<std::size_t>(channels); }

    // The format the text names, or why it cannot be read: another media type, a sample format
    // that is not one of SampleFormat's, no sample rate, or a channel count or rate out of range.
    // "channels" may be left out (one channel); values may carry a type in parentheses, as in
    // "rate=(int)22050".
    static FormatReading read(std::string_view text);
    static std::optional<StreamFormat> parse(std::string_view text);
};

struct FormatReading {
    std::optional<StreamFormat> format;
    std::string problem;  // empty when the format was read
};

}  // namespace velmora
