#include "speech/StreamFormat.h"

#include <charconv>
#include <string>

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

bool applyField(StreamFormat& format, std::string_view key, std::string_view value, bool& sawFormat,
                bool& sawRate) {
    if (key == "format") {
        if (value == "S16LE")
            format.sample = StreamFormat::Sample::s16le;
        else if (value == "F32LE")
            format.sample = StreamFormat::Sample::f32le;
        else
            return false;
        sawFormat = true;
    } else if (key == "channels") {
        const auto channels = integer(value, 1, maximumChannels);
        if (!channels) return false;
        format.channels = *channels;
    } else if (key == "rate") {
        const auto rate = integer(value, 1, maximumRate);
        if (!rate) return false;
        format.sampleRate = *rate;
        sawRate = true;
    }
    return true;  // other keys (layout, for one) do not change how the bytes are read
}

}  // namespace

std::optional<StreamFormat> StreamFormat::parse(std::string_view text) {
    StreamFormat format;
    auto comma = text.find(',');
    const std::string_view mediaType = trimmed(text.substr(0, comma));
    if (mediaType == "audio/x-spiel")
        format.framed = true;
    else if (mediaType != "audio/x-raw")
        return std::nullopt;

    bool sawFormat = false;
    bool sawRate = false;
    while (comma != std::string_view::npos) {
        text.remove_prefix(comma + 1);
        comma = text.find(',');
        const std::string_view field = text.substr(0, comma);
        const auto equals = field.find('=');
        if (equals == std::string_view::npos) return std::nullopt;
        if (!applyField(format, trimmed(field.substr(0, equals)), withoutTypeTag(field.substr(equals + 1)),
                        sawFormat, sawRate)) {
            return std::nullopt;
        }
    }
    if (!sawFormat || !sawRate) return std::nullopt;
    return format;
}

}  // namespace velmora
