#include "SsmlForEspeak.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <optional>
#include <string>
#include <utility>
#include <vector>

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

SourceMappedText timesInMilliseconds(const SourceMappedText& ssml) {
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

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

// The attributes of a start tag's inside ("voice name=''" gives name -> ""); absent when they
// cannot be read.
std::optional<std::vector<std::pair<std::string_view, std::string_view>>> attributes(
    std::string_view inside) {
    std::vector<std::pair<std::string_view, std::string_view>> result;
    std::size_t at = inside.find_first_of(" \t\n\r");
    while (at != std::string_view::npos) {
        at = skipBlanks(inside, at);
        if (at >= inside.size()) break;
        const std::size_t equals = inside.find('=', at);
        if (equals == std::string_view::npos) return std::nullopt;
        std::string_view name = inside.substr(at, equals - at);
        while (!name.empty() && isBlank(name.back())) name.remove_suffix(1);
        const std::size_t quote = skipBlanks(inside, equals + 1);
        if (quote >= inside.size() || (inside[quote] != '"' && inside[quote] != '\'')) return std::nullopt;
        const std::size_t close = inside.find(inside[quote], quote + 1);
        if (close == std::string_view::npos) return std::nullopt;
        result.emplace_back(name, inside.substr(quote + 1, close - quote - 1));
        at = close + 1;
    }
    return result;
}

// Whether a voice start tag's inside selects nothing: no attribute but an empty name.
bool selectsNoVoice(std::string_view inside) {
    const auto all = attributes(inside);
    return all &&
           std::ranges::all_of(*all, [](const auto& a) { return a.first == "name" && a.second.empty(); });
}

// Drops sentence start tags without attributes and voice elements that select nothing.
SourceMappedText withoutEmptyElements(const SourceMappedText& ssml) {
    const std::string& text = ssml.text();
    SourceMappedText result = SourceMappedText::rewriteOf(ssml);
    std::vector<bool> droppedVoices;  // one per open voice element
    std::size_t copied = 0;
    for (std::size_t start = text.find('<'); start != std::string::npos; start = text.find('<', start + 1)) {
        const std::size_t end = text.find('>', start);
        if (end == std::string::npos) break;
        std::string_view inside = std::string_view(text).substr(start + 1, end - start - 1);
        const bool selfClosing = inside.ends_with('/');
        if (selfClosing) inside.remove_suffix(1);
        while (!inside.empty() && isBlank(inside.back())) inside.remove_suffix(1);
        bool drop = false;
        if (inside == "s") {
            drop = true;
        } else if (inside == "voice" || inside.starts_with("voice ") || inside.starts_with("voice\t")) {
            drop = selectsNoVoice(inside);
            if (!selfClosing) droppedVoices.push_back(drop);
        } else if (inside == "/voice" && !droppedVoices.empty()) {
            drop = droppedVoices.back();
            droppedVoices.pop_back();
        }
        if (!drop) continue;
        result.copy(ssml, copied, start - copied);
        copied = end + 1;
    }
    result.copy(ssml, copied, text.size() - copied);
    return result;
}

}  // namespace

SourceMappedText ssmlForEspeak(const SourceMappedText& ssml) {
    return timesInMilliseconds(withoutEmptyElements(ssml));
}

SourceMappedText plainTextAsSsml(const SourceMappedText& text) {
    SourceMappedText ssml = SourceMappedText::rewriteOf(text);
    ssml.insert("<speak>", text.origin(0, 0));
    const std::string& plain = text.text();
    for (std::size_t at = 0; at < plain.size(); ++at) {
        const char c = plain[at];
        const char* entity = c == '<' ? "&lt;" : c == '>' ? "&gt;" : c == '&' ? "&amp;" : nullptr;
        if (entity != nullptr)
            ssml.insert(entity, text.origin(at, at + 1));
        else
            ssml.copy(text, at, 1);
    }
    ssml.insert("</speak>", text.origin(plain.size(), plain.size()));
    return ssml;
}

}  // namespace velmora::provider
