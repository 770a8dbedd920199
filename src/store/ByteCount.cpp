#include "store/ByteCount.h"

#include <array>
#include <cmath>
#include <cstdio>

namespace velmora {
namespace {

struct Unit {
    const char* name;
    int fractionDigits;
};

// Kilobytes show whole numbers, megabytes one decimal, larger units two; trailing zeros go.
constexpr std::array<Unit, 6> units{{{"KB", 0}, {"MB", 1}, {"GB", 2}, {"TB", 2}, {"PB", 2}, {"EB", 2}}};

std::string withoutTrailingZeros(std::string text) {
    if (text.find('.') == std::string::npos) return text;
    while (text.back() == '0') text.pop_back();
    if (text.back() == '.') text.pop_back();
    return text;
}

}  // namespace

std::string formatByteCount(std::int64_t bytes) {
    if (bytes == 0) return "Zero KB";
    const bool negative = bytes < 0;
    const double magnitude = std::fabs(static_cast<double>(bytes));
    const std::string sign = negative ? "-" : "";
    if (magnitude < 1000) {
        return sign + std::to_string(static_cast<long long>(magnitude)) +
               (magnitude == 1 ? " byte" : " bytes");
    }
    double value = magnitude / 1000;
    std::size_t unit = 0;
    while (unit + 1 < units.size()) {
        // Move up when the value would round to 1000 of this unit.
        const double scale = std::pow(10.0, units[unit].fractionDigits);
        if (std::round(value * scale) / scale < 1000) break;
        value /= 1000;
        ++unit;
    }
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", units[unit].fractionDigits, value);
    return sign + withoutTrailingZeros(text) + " " + units[unit].name;
}

}  // namespace velmora
