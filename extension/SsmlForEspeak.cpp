#include "SsmlForEspeak.h"

#include <cctype>
#include <cmath>
#include <cstdlib>
#include <optional>
#include <string>

namespace velmora::provider {
namespace {

std::size_t skipBlanks(std::string_view text, std::size_t at) {
    while (at < text.size() && (text[at] == ' ' || text[at] == '\t' || text[at] == '\n' || text[at] == '\r'))
        ++at;
    return at;
}

std::size_t skipDigits(std::string_view text, std::size_t at) {
    while (at < text.size() && std::isdigit(static_cast<unsigned char>(text[at]))) ++at;
    return at;
}

// A number of seconds with a fraction that starts a quoted value right after "time" at `at`:
// its start, and the end of its unit "s".
struct FractionalSeconds {
    std::size_t start = 0;
    std::size_t end = 0;
    double seconds = 0;
};

std::optional<FractionalSeconds> fractionalSecondsAt(std::string_view ssml, std::size_t at) {
    std::size_t p = skipBlanks(ssml, at + 4);
    if (p >= ssml.size() || ssml[p] != '=') return std::nullopt;
    p = skipBlanks(ssml, p + 1);
    if (p >= ssml.size() || (ssml[p] != '"' && ssml[p] != '\'')) return std::nullopt;
    const std::size_t numberStart = skipBlanks(ssml, p + 1);
    const std::size_t point = skipDigits(ssml, numberStart);
    const std::size_t numberEnd = skipDigits(ssml, point + 1);
    if (point >= ssml.size() || ssml[point] != '.' || numberEnd == point + 1 || numberEnd - numberStart > 12)
        return std::nullopt;
    const std::size_t unit = skipBlanks(ssml, numberEnd);
    if (unit >= ssml.size() || ssml[unit] != 's') return std::nullopt;
    const double seconds =
        std::strtod(std::string(ssml.substr(numberStart, numberEnd - numberStart)).c_str(), nullptr);
    return FractionalSeconds{numberStart, unit + 1, seconds};
}

}  // namespace

SourceMappedText ssmlForEspeak(const SourceMappedText& ssml) {
    const std::string& text = ssml.text();
    SourceMappedText result = SourceMappedText::rewriteOf(ssml);
    std::size_t copied = 0;
    for (std::size_t at = text.find("time"); at != std::string::npos; at = text.find("time", at + 1)) {
        const auto time = fractionalSecondsAt(text, at);
        if (!time) continue;
        result.copy(ssml, copied, time->start - copied);
        result.insert(std::to_string(std::lround(time->seconds * 1000.0)) + "ms",
                      ssml.origin(time->start, time->end));
        copied = time->end;
    }
    result.copy(ssml, copied, text.size() - copied);
    return result;
}

}  // namespace velmora::provider
