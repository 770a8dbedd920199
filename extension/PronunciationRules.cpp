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

SourceMappedText replaceAll(const SourceMappedText& source, const PronunciationRules::Rule& rule) {
    const std::string& text = source.text();
    SourceMappedText result = SourceMappedText::rewriteOf(source);
    std::size_t copied = 0;
    for (std::size_t at = text.find(rule.written); at != std::string::npos;) {
        if (matchesAt(text, at, rule.written)) {
            result.copy(source, copied, at - copied);
            result.insert(rule.spoken, source.origin(at, at + rule.written.size()));
            copied = at + rule.written.size();
            at = text.find(rule.written, copied);
        } else {
            at = text.find(rule.written, at + 1);
        }
    }
    result.copy(source, copied, text.size() - copied);
    return result;
}

// A run of blanks becomes one blank standing for the first of them; leading and trailing runs go.
SourceMappedText collapsedBlanks(const SourceMappedText& source) {
    const std::string& text = source.text();
    SourceMappedText result = SourceMappedText::rewriteOf(source);
    std::size_t firstBlank = std::string::npos;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (isBlank(text[at])) {
            if (firstBlank == std::string::npos && !result.text().empty()) firstBlank = at;
            continue;
        }
        if (firstBlank != std::string::npos) result.insert(" ", source.origin(firstBlank, firstBlank + 1));
        firstBlank = std::string::npos;
        result.copy(source, at, 1);
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

SourceMappedText PronunciationRules::applyRules(const SourceMappedText& text) const {
    SourceMappedText current = text;
    for (const auto& rule : rules_) {
        if (current.text().find(rule.written) == std::string::npos) continue;
        SourceMappedText next = replaceAll(current, rule);
        if (next.text().size() > maximumTextSize) break;
        current = std::move(next);
    }
    return current;
}

SourceMappedText PronunciationRules::applyToText(const SourceMappedText& text) const {
    return collapsedBlanks(applyRules(text));
}

SourceMappedText PronunciationRules::applyToSsml(const SourceMappedText& ssml) const {
    const std::string& text = ssml.text();
    SourceMappedText result = SourceMappedText::rewriteOf(ssml);
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t tagStart = std::min(text.find('<', at), text.size());
        result.append(applyRules(ssml.slice(at, tagStart - at)));
        if (tagStart == text.size()) break;
        const std::size_t tagEnd = text.find('>', tagStart);
        const std::size_t afterTag = tagEnd == std::string::npos ? text.size() : tagEnd + 1;
        result.copy(ssml, tagStart, afterTag - tagStart);
        at = afterTag;
    }
    return result;
}

}  // namespace velmora::provider
