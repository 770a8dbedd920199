#include "presenters/TransferTexts.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace velmora {
namespace {

std::string megabytes(double bytes) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", bytes / 1e6);
    return text;
}

}  // namespace

std::string timeLeftText(double seconds) {
    const std::int64_t whole = std::llround(std::max(seconds, 0.0));
    if (whole < 100) return std::to_string(whole) + " s left";
    const std::int64_t minutes = (whole + 59) / 60;
    if (minutes < 60) return std::to_string(minutes) + " min left";
    return std::to_string(minutes / 60) + " h " + std::to_string(minutes % 60) + " min left";
}

std::string transferProgressText(std::int64_t done, std::int64_t total, double bytesPerSecond) {
    std::string text = megabytes(static_cast<double>(done));
    if (total > 0) text += " of " + megabytes(static_cast<double>(total));
    text += " MB";
    if (bytesPerSecond <= 0) return text;
    text += ", " + megabytes(bytesPerSecond) + " MB/s";
    if (total > 0) text += ", " + timeLeftText(static_cast<double>(total - done) / bytesPerSecond);
    return text;
}

}  // namespace velmora
