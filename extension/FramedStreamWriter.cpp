#include "FramedStreamWriter.h"

#include <cstddef>
#include <cstring>
#include <vector>

namespace velmora::provider {
namespace {

constexpr std::byte audioChunk{1};
constexpr std::byte eventChunk{2};

void appendU32(std::vector<std::byte>& bytes, std::uint32_t value) {
    std::byte raw[sizeof value];
    std::memcpy(raw, &value, sizeof value);
    bytes.insert(bytes.end(), std::begin(raw), std::end(raw));
}

}  // namespace

bool FramedStreamWriter::header() { return pipe_.write(std::as_bytes(std::span("0.01", 4))); }

bool FramedStreamWriter::audio(std::span<const std::int16_t> samples) {
    if (samples.empty()) return !pipe_.broken();
    std::vector<std::byte> bytes{audioChunk};
    bytes.reserve(5 + samples.size() * 2);
    appendU32(bytes, static_cast<std::uint32_t>(samples.size() * 2));
    for (const std::int16_t sample : samples) {
        const auto bits = static_cast<std::uint16_t>(sample);
        bytes.push_back(static_cast<std::byte>(bits & 0xFF));
        bytes.push_back(static_cast<std::byte>(bits >> 8));
    }
    return pipe_.write(bytes);
}

bool FramedStreamWriter::event(EventType type, std::uint32_t rangeStart, std::uint32_t rangeEnd,
                               std::string_view name) {
    std::vector<std::byte> bytes{eventChunk, static_cast<std::byte>(type)};
    appendU32(bytes, rangeStart);
    appendU32(bytes, rangeEnd);
    appendU32(bytes, static_cast<std::uint32_t>(name.size()));
    const auto nameBytes = std::as_bytes(std::span(name.data(), name.size()));
    bytes.insert(bytes.end(), nameBytes.begin(), nameBytes.end());
    return pipe_.write(bytes);
}

}  // namespace velmora::provider
