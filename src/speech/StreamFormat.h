#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace velmora {

// The audio a speech provider writes for one voice, as its output-format text names it:
// "audio/x-raw,format=S16LE,channels=1,rate=22050" for bare samples, or the same keys after
// "audio/x-spiel" for the framed stream with its version header and audio and event chunks.
struct StreamFormat {
    enum class Sample { s16le, f32le };

    bool framed = false;
    Sample sample = Sample::s16le;
    int channels = 1;
    double sampleRate = 22050;

    bool operator==(const StreamFormat&) const = default;

    std::size_t bytesPerSample() const { return sample == Sample::s16le ? 2 : 4; }
    std::size_t bytesPerFrame() const { return bytesPerSample() * static_cast<std::size_t>(channels); }

    // The format the text names, or absent when it names another media type, a sample format
    // other than S16LE and F32LE, or a channel count or rate out of range. "channels" may be
    // left out (one channel); values may carry a type in parentheses, as in "rate=(int)22050".
    static std::optional<StreamFormat> parse(std::string_view text);
};

}  // namespace velmora
