#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "SourceMappedText.h"

namespace velmora::provider {

// Literal text replacements read from a voice's "user_rules.txt" and "<lang>_userdct.dat".
// Both files hold one rule per line, "written<TAB>spoken"; empty lines, lines starting with "#"
// and lines without a tab or with nothing written are skipped. A written form that begins or
// ends with a letter or digit matches only where it does not continue a word, so the rule for
// "ios" leaves "iostream" alone.
class PronunciationRules {
public:
    struct Rule {
        std::string written;
        std::string spoken;
        bool operator==(const Rule&) const = default;
    };

    static constexpr std::size_t maximumRules = 4096;
    // A text that rules make longer than this is left as it was after the last rule that fit.
    static constexpr std::size_t maximumTextSize = 1 << 20;

    PronunciationRules() = default;
    explicit PronunciationRules(std::vector<Rule> rules) : rules_(std::move(rules)) {}

    static PronunciationRules parse(std::string_view fileContents);

    const std::vector<Rule>& rules() const { return rules_; }
    // This set's rules, then `later`'s.
    PronunciationRules followedBy(const PronunciationRules& later) const;

    // Plain text: every rule in order, then runs of white space collapsed to one blank and
    // trimmed, so that written and spoken forms reach the engine as the same text.
    SourceMappedText applyToText(const SourceMappedText& text) const;
    // SSML: every rule in order on the text between the markup, which is left untouched.
    SourceMappedText applyToSsml(const SourceMappedText& ssml) const;

private:
    SourceMappedText applyRules(const SourceMappedText& text) const;
    std::vector<Rule> rules_;
};

}  // namespace velmora::provider
