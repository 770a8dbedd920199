#include "PronunciationRules.h"

namespace velmora::provider {
namespace {

// Bytes of multi-byte UTF-8 sequences count as word characters: they are letters far more often
// than not, and a rule must not match inside a word such as "iosé".
bool isWordByte(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') ||
           byte >= 0x80;
}

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v'; }

bool matchesAt(std::string_view text, std::size_t at, std::string_view written) {
    if (text.compare(at, written.size(), written) != 0) return false;
    if (isWordByte(written.front()) && at > 0 && isWordByte(text[at - 1])) return false;
    const std::size_t end = at + written.size();
    if (isWordByte(written.back()) && end < text.size() && isWordByte(text[end])) return false;
    return true;
}

std::string replaceAll(std::string_view text, const PronunciationRules::Rule& rule) {
    std::string result;
    std::size_t copied = 0;
    for (std::size_t at = text.find(rule.written); at != std::string_view::npos;) {
        if (matchesAt(text, at, rule.written)) {
            result.append(text, copied, at - copied).append(rule.spoken);
            copied = at + rule.written.size();
            at = text.find(rule.written, copied);
        } else {
            at = text.find(rule.written, at + 1);
        }
    }
    result.append(text, copied);
    return result;
}

std::string collapsedBlanks(std::string_view text) {
    std::string result;
    bool pendingBlank = false;
    for (const char c : text) {
        if (isBlank(c)) {
            pendingBlank = !result.empty();
            continue;
        }
        if (pendingBlank) result += ' ';
        pendingBlank = false;
        result += c;
    }
    return result;
}

}  // namespace

PronunciationRules PronunciationRules::parse(std::string_view fileContents) {
    std::vector<Rule> rules;
    while (!fileContents.empty() && rules.size() < maximumRules) {
        const std::size_t lineEnd = fileContents.find('\n');
        std::string_view line = fileContents.substr(0, lineEnd);
        fileContents.remove_prefix(lineEnd == std::string_view::npos ? fileContents.size() : lineEnd + 1);
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        if (line.empty() || line.front() == '#') continue;
        const std::size_t tab = line.find('\t');
        if (tab == std::string_view::npos || tab == 0) continue;
        rules.push_back({std::string(line.substr(0, tab)), std::string(line.substr(tab + 1))});
    }
    return PronunciationRules(std::move(rules));
}

PronunciationRules PronunciationRules::followedBy(const PronunciationRules& later) const {
    std::vector<Rule> combined = rules_;
    combined.insert(combined.end(), later.rules_.begin(), later.rules_.end());
    return PronunciationRules(std::move(combined));
}

std::string PronunciationRules::applyRules(std::string_view text) const {
    std::string current(text);
    for (const auto& rule : rules_) {
        std::string next = replaceAll(current, rule);
        if (next.size() > maximumTextSize) break;
        current = std::move(next);
    }
    return current;
}

std::string PronunciationRules::applyToText(std::string_view text) const {
    return collapsedBlanks(applyRules(text));
}

std::string PronunciationRules::applyToSsml(std::string_view ssml) const {
    std::string result;
    std::size_t at = 0;
    while (at < ssml.size()) {
        const std::size_t tagStart = ssml.find('<', at);
        result += applyRules(ssml.substr(at, tagStart - at));
        if (tagStart == std::string_view::npos) break;
        const std::size_t tagEnd = ssml.find('>', tagStart);
        const std::size_t afterTag = tagEnd == std::string_view::npos ? ssml.size() : tagEnd + 1;
        result.append(ssml, tagStart, afterTag - tagStart);
        at = afterTag;
    }
    return result;
}

}  // namespace velmora::provider
