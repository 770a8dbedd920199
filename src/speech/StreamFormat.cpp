#include "speech/StreamFormat.h"

#include <bit>
#include <charconv>
#include <cstdint>

namespace velmora {
namespace {

constexpr int maximumChannels = 64;
constexpr int maximumRate = 1'000'000;

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
    return text;
}

// "(int)22050" and "22050" both give "22050".
std::string_view withoutTypeTag(std::string_view value) {
    value = trimmed(value);
    if (value.starts_with('(')) {
        const auto close = value.find(')');
        if (close != std::string_view::npos) value = trimmed(value.substr(close + 1));
    }
    return value;
}

std::optional<int> integer(std::string_view text, int low, int high) {
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size() || value < low || value > high)
        return std::nullopt;
    return value;
}

// The unsigned value of `count` bytes in the given byte order.
std::uint64_t unsignedValue(const std::byte* bytes, std::size_t count, bool bigEndian) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t index = bigEndian ? i : count - 1 - i;
        value = (value << 8) | std::to_integer<std::uint64_t>(bytes[index]);
    }
    return value;
}

// Applies one "key=value" field; returns why it cannot be read, or nothing.
std::string applyField(StreamFormat& format, std::string_view key, std::string_view value, bool& sawFormat,
                       bool& sawRate) {
    if (key == "format") {
        const auto sample = SampleFormat::named(value);
        if (!sample) return "its samples are " + std::string(value) + ", which this program cannot read";
        format.sample = *sample;
        sawFormat = true;
    } else if (key == "channels") {
        const auto channels = integer(value, 1, maximumChannels);
        if (!channels) return "its channel count " + std::string(value) + " is not 1 to 64";
        format.channels = *channels;
    } else if (key == "rate") {
        const auto rate = integer(value, 1, maximumRate);
        if (!rate) return "its sample rate " + std::string(value) + " is not 1 to 1000000";
        format.sampleRate = *rate;
        sawRate = true;
    }
    return {};  // other keys (layout, for one) do not change how the bytes are read
}

std::string mediaTypeProblem(std::string_view mediaType, StreamFormat& format) {
    if (mediaType == "audio/x-spiel")
        format.framed = true;
    else if (mediaType != "audio/x-raw")
        return "it is " + std::string(mediaType) + ", not audio/x-raw or audio/x-spiel";
    return {};
}

}  // namespace

std::optional<SampleFormat> SampleFormat::named(std::string_view name) {
    if (name.empty() || (name.front() != 'S' && name.front() != 'U' && name.front() != 'F'))
        return std::nullopt;
    SampleFormat format;
    format.kind = name.front() == 'S'   ? Kind::signedInteger
                  : name.front() == 'U' ? Kind::unsignedInteger
                                        : Kind::floatingPoint;
    name.remove_prefix(1);
    if (name.ends_with("LE") || name.ends_with("BE")) {
        format.bigEndian = name.ends_with("BE");
        name.remove_suffix(2);
    } else if (name != "8") {
        return std::nullopt;  // wider samples need a byte order
    }
    const auto bits = integer(name, 8, 64);
    if (!bits || std::to_string(*bits) != name) return std::nullopt;
    format.bits = *bits;
    const bool integerBits = *bits == 8 || *bits == 16 || *bits == 24 || *bits == 32;
    const bool floatBits = *bits == 32 || *bits == 64;
    if (format.kind == Kind::floatingPoint ? !floatBits : !integerBits) return std::nullopt;
    return format;
}

float SampleFormat::decode(const std::byte* bytes) const {
    const std::uint64_t value = unsignedValue(bytes, this->bytes(), bigEndian);
    if (kind == Kind::floatingPoint) {
        if (bits == 32) return std::bit_cast<float>(static_cast<std::uint32_t>(value));
        return static_cast<float>(std::bit_cast<double>(value));
    }
    const std::int64_t half = std::int64_t{1} << (bits - 1);
    std::int64_t sample = static_cast<std::int64_t>(value);
    if (kind == Kind::unsignedInteger)
        sample -= half;
    else if (sample >= half)
        sample -= 2 * half;
    return static_cast<float>(static_cast<double>(sample) / static_cast<double>(half));
}

std::optional<StreamFormat> StreamFormat::parse(std::string_view text) { return read(text).format; }

FormatReading StreamFormat::read(std::string_view text) {
    const std::string_view whole = text;
    auto refusal = [&](const std::string& why) {
        return FormatReading{std::nullopt, "The voice's audio format \"" + std::string(whole) +
                                               "\" cannot be read: " + why + "."};
    };
    StreamFormat format;
    auto comma = text.find(',');
    if (auto problem = mediaTypeProblem(trimmed(text.substr(0, comma)), format); !problem.empty())
        return refusal(problem);
    bool sawFormat = false;
    bool sawRate = false;
    while (comma != std::string_view::npos) {
        text.remove_prefix(comma + 1);
        comma = text.find(',');
        const std::string_view field = text.substr(0, comma);
        const auto equals = field.find('=');
        if (equals == std::string_view::npos)
            return refusal("\"" + std::string(field) + "\" is not key=value");
        const auto problem = applyField(format, trimmed(field.substr(0, equals)),
                                        withoutTypeTag(field.substr(equals + 1)), sawFormat, sawRate);
        if (!problem.empty()) return refusal(problem);
    }
    if (!sawFormat) return refusal("it names no sample format (format=)");
    if (!sawRate) return refusal("it names no sample rate (rate=)");
    return {format, {}};
}

}  // namespace velmora
