#include "SsmlPhrases.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <string>
#include <utility>

#include "SsmlTags.h"

namespace velmora::provider {
namespace {

// Break strengths and their seconds, as espeak-ng times them.
constexpr std::pair<std::string_view, double> breakStrengths[] = {
    {"none", 0.0}, {"x-weak", 0.07}, {"weak", 0.14}, {"medium", 0.21}, {"strong", 0.4}, {"x-strong", 0.8}};
constexpr double mediumBreakSeconds = 0.21;
// A longer break is taken as this long: past it, it is no pause but a stop.
constexpr double longestBreakSeconds = 3600.0;

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && isSsmlBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && isSsmlBlank(text.back())) text.remove_suffix(1);
    return text;
}

// "1.5s", "250ms", "0.0ms" in seconds; absent when it is none of these.
std::optional<double> timeInSeconds(std::string_view value) {
    const std::string text(trimmed(value));
    if (text.empty() || (!std::isdigit(static_cast<unsigned char>(text[0])) && text[0] != '.'))
        return std::nullopt;
    char* numberEnd = nullptr;
    const double number = std::strtod(text.c_str(), &numberEnd);
    const std::string_view unit = trimmed(std::string_view(numberEnd));
    if (!std::isfinite(number) || (unit != "s" && unit != "ms")) return std::nullopt;
    return std::min(unit == "ms" ? number / 1000.0 : number, longestBreakSeconds);
}

// The seconds a break asks for; absent when it asks for none (strength "none").
std::optional<double> breakSeconds(const SsmlTag& tag) {
    if (const auto time = ssmlAttribute(tag.inside, "time")) {
        if (const auto seconds = timeInSeconds(*time)) return seconds;
    }
    const auto strength = ssmlAttribute(tag.inside, "strength");
    if (strength == "none") return std::nullopt;
    const auto named =
        std::ranges::find(breakStrengths, strength.value_or(""), &std::pair<std::string_view, double>::first);
    return named != std::end(breakStrengths) ? named->second : mediumBreakSeconds;
}

bool hasText(std::string_view text) { return !trimmed(text).empty(); }

bool isSentenceOrParagraph(std::string_view name) { return name == "s" || name == "p"; }

class PhraseSplitter {
public:
    explicit PhraseSplitter(const SourceMappedText& ssml)
        : ssml_(ssml),
          body_(SourceMappedText::rewriteOf(ssml)),
          prefix_(body_),
          marks_(body_),
          carried_(body_) {}

    SsmlPhrases run() {
        const std::string& text = ssml_.text();
        std::size_t at = 0;
        while (at < text.size()) {
            const std::size_t next = std::min(text.find('<', at), text.size());
            addText(at, next);
            const auto tag = next < text.size() ? ssmlTagAt(text, next) : std::nullopt;
            if (!tag) {
                addText(next, text.size());
                break;
            }
            addTag(*tag);
            at = tag->end;
        }
        finish();
        return std::move(result_);
    }

private:
    struct OpenElement {
        std::string name;
        SourceMappedText startTag;  // empty for a sentence or paragraph without attributes
    };

    void addText(std::size_t begin, std::size_t end) {
        if (begin >= end) return;
        body_.copy(ssml_, begin, end - begin);
        bodyHasText_ = bodyHasText_ || hasText(std::string_view(ssml_.text()).substr(begin, end - begin));
    }

    void addTag(const SsmlTag& tag) {
        using Kind = SsmlTag::Kind;
        if (tag.kind == Kind::other || (tag.kind == Kind::end && tag.name == "break")) return;
        if (tag.name == "break") return addBreak(tag);
        if (isSentenceOrParagraph(tag.name)) return addSentenceTag(tag);
        body_.copy(ssml_, tag.begin, tag.end - tag.begin);
        if (tag.name == "mark") marks_.copy(ssml_, tag.begin, tag.end - tag.begin);
        if (tag.kind == Kind::start)
            open_.push_back({std::string(tag.name), ssml_.slice(tag.begin, tag.end - tag.begin)});
        if (tag.kind == Kind::end) close(tag.name);
    }

    void addBreak(const SsmlTag& tag) {
        const auto seconds = breakSeconds(tag);
        if (!seconds) return;
        cut(tag.begin);
        pendingBreak_ = pendingBreak_.value_or(0.0) + *seconds;
    }

    void addSentenceTag(const SsmlTag& tag) {
        cut(tag.begin);
        sentenceCut_ = true;
        if (tag.kind == SsmlTag::Kind::start) {
            const bool bare = trimmed(tag.inside).empty();
            open_.push_back({std::string(tag.name), bare ? SourceMappedText::rewriteOf(ssml_)
                                                         : ssml_.slice(tag.begin, tag.end - tag.begin)});
        } else if (tag.kind == SsmlTag::Kind::end) {
            close(tag.name);
        }
        startPhrase();
    }

    // Closes the innermost open element called `name`, and those opened within it.
    void close(std::string_view name) {
        const auto found = std::ranges::find(open_.rbegin(), open_.rend(), name, &OpenElement::name);
        if (found != open_.rend()) open_.erase(std::prev(found.base()), open_.end());
    }

    void startPhrase() {
        prefix_ = SourceMappedText::rewriteOf(ssml_);
        for (const auto& element : open_) prefix_.append(element.startTag);
        body_ = marks_ = SourceMappedText::rewriteOf(ssml_);
        bodyHasText_ = false;
    }

    // Ends the phrase in progress at byte `at` of the utterance.
    void cut(std::size_t at) {
        if (!bodyHasText_) {
            carried_.append(marks_);
        } else {
            SsmlPhrase phrase{prefix_, pendingBreak_, !sentenceCut_ && !result_.phrases.empty()};
            phrase.ssml.append(carried_);
            phrase.ssml.append(body_);
            lastBodyEnd_ = phrase.ssml.text().size();
            for (auto element = open_.rbegin(); element != open_.rend(); ++element) {
                if (!element->startTag.text().empty())
                    phrase.ssml.insert("</" + element->name + ">", ssml_.origin(at, at));
            }
            result_.phrases.push_back(std::move(phrase));
            carried_ = SourceMappedText::rewriteOf(ssml_);
            pendingBreak_.reset();
            sentenceCut_ = false;
        }
        startPhrase();
    }

    // The end: marks after the last text go at the end of the last phrase.
    void finish() {
        cut(ssml_.text().size());
        result_.breakAfter = pendingBreak_;
        if (carried_.text().empty() || result_.phrases.empty()) return;
        SourceMappedText& last = result_.phrases.back().ssml;
        SourceMappedText withMarks = last.slice(0, lastBodyEnd_);
        withMarks.append(carried_);
        withMarks.copy(last, lastBodyEnd_, last.text().size() - lastBodyEnd_);
        last = std::move(withMarks);
    }

    const SourceMappedText& ssml_;
    std::vector<OpenElement> open_;
    SourceMappedText body_;     // the phrase in progress, after its reopened start tags
    SourceMappedText prefix_;   // its reopened start tags
    SourceMappedText marks_;    // the marks in body_
    SourceMappedText carried_;  // marks of stretches without text, for the next phrase
    bool bodyHasText_ = false;
    bool sentenceCut_ = false;
    std::optional<double> pendingBreak_;
    std::size_t lastBodyEnd_ = 0;
    SsmlPhrases result_;
};

}  // namespace

SsmlPhrases splitIntoPhrases(const SourceMappedText& ssml) { return PhraseSplitter(ssml).run(); }

}  // namespace velmora::provider
