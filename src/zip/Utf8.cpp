#include "zip/Utf8.h"

#include <cstdint>
#include <string_view>

namespace velmora::zip {
namespace {

constexpr std::string_view replacement = "\xEF\xBF\xBD";

struct LeadByte {
    int continuations;       // bytes that must follow, or -1 when the byte cannot start a sequence
    std::uint8_t low, high;  // allowed range of the first continuation byte
};

// The well-formed sequences of UTF-8: the first continuation byte's range depends on the lead
// byte, which rules out overlong forms, surrogates and values above U+10FFFF.
LeadByte classify(std::uint8_t lead) {
    if (lead >= 0xC2 && lead <= 0xDF) return {1, 0x80, 0xBF};
    if (lead == 0xE0) return {2, 0xA0, 0xBF};
    if (lead == 0xED) return {2, 0x80, 0x9F};
    if (lead >= 0xE1 && lead <= 0xEF) return {2, 0x80, 0xBF};
    if (lead == 0xF0) return {3, 0x90, 0xBF};
    if (lead == 0xF4) return {3, 0x80, 0x8F};
    if (lead >= 0xF1 && lead <= 0xF3) return {3, 0x80, 0xBF};
    return {-1, 0, 0};
}

}  // namespace

std::string decodeUtf8Lossy(std::span<const std::byte> bytes) {
    std::string text;
    text.reserve(bytes.size());
    std::size_t i = 0;
    while (i < bytes.size()) {
        const auto lead = std::to_integer<std::uint8_t>(bytes[i]);
        if (lead < 0x80) {
            text.push_back(static_cast<char>(lead));
            ++i;
            continue;
        }
        const LeadByte kind = classify(lead);
        std::size_t end = i + 1;
        int matched = 0;
        for (std::uint8_t low = kind.low, high = kind.high; matched < kind.continuations; ++matched, ++end) {
            if (end >= bytes.size()) break;
            const auto next = std::to_integer<std::uint8_t>(bytes[end]);
            if (next < low || next > high) break;
            low = 0x80;
            high = 0xBF;
        }
        if (kind.continuations >= 0 && matched == kind.continuations) {
            for (std::size_t k = i; k < end; ++k) text.push_back(static_cast<char>(bytes[k]));
        } else {
            text.append(replacement);
        }
        i = end;
    }
    return text;
}

}  // namespace velmora::zip
