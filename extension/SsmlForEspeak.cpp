#include "SsmlForEspeak.h"

#include <algorithm>
#include <string>
#include <vector>

#include "SsmlTags.h"

namespace velmora::provider {
namespace {

// Whether a voice start tag's inside selects nothing: no attribute but an empty name.
bool selectsNoVoice(std::string_view inside) {
    const auto all = ssmlAttributes(inside);
    return all &&
           std::ranges::all_of(*all, [](const auto& a) { return a.first == "name" && a.second.empty(); });
}

bool spellsCharacters(const SsmlTag& tag) {
    return tag.kind == SsmlTag::Kind::start && tag.name == "say-as" &&
           ssmlAttribute(tag.inside, "interpret-as") == "characters";
}

bool startsCharacter(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; }

// Writes the characters of `text` bytes [begin, end) into `result` with a blank between two of
// them; an entity ("&amp;") counts as one character.
void appendSpelled(SourceMappedText& result, const SourceMappedText& text, std::size_t begin,
                   std::size_t end) {
    const std::string& bytes = text.text();
    bool first = true;
    for (std::size_t at = begin; at < end;) {
        std::size_t next = at + 1;
        if (bytes[at] == '&' && bytes.find(';', at) < end) next = bytes.find(';', at) + 1;
        while (next < end && !startsCharacter(bytes[next])) ++next;
        if (!isSsmlBlank(bytes[at])) {
            if (!first) result.insert(" ", text.origin(at, at));
            result.copy(text, at, next - at);
            first = false;
        }
        at = next;
    }
}

class EspeakRewriter {
public:
    explicit EspeakRewriter(const SourceMappedText& ssml)
        : ssml_(ssml), result_(SourceMappedText::rewriteOf(ssml)) {}

    SourceMappedText run() {
        const std::string& text = ssml_.text();
        for (std::size_t at = text.find('<'); at != std::string::npos; at = text.find('<', at + 1)) {
            const auto tag = ssmlTagAt(text, at);
            if (!tag) break;
            if (tag->name == "voice") rewriteVoice(*tag);
            if (spellsCharacters(*tag)) at = spell(*tag);
        }
        result_.copy(ssml_, copied_, ssml_.text().size() - copied_);
        return std::move(result_);
    }

private:
    void drop(const SsmlTag& tag) {
        result_.copy(ssml_, copied_, tag.begin - copied_);
        copied_ = tag.end;
    }

    void rewriteVoice(const SsmlTag& tag) {
        bool dropped = false;
        if (tag.kind == SsmlTag::Kind::end) {
            if (droppedVoices_.empty()) return;
            dropped = droppedVoices_.back();
            droppedVoices_.pop_back();
        } else {
            dropped = selectsNoVoice(tag.inside);
            if (tag.kind == SsmlTag::Kind::start) droppedVoices_.push_back(dropped);
        }
        if (!dropped) return;
        // The element's edge parts words as the element did ("a</voice><voice>b" is two words).
        drop(tag);
        result_.insert(" ", ssml_.origin(tag.begin, tag.begin));
    }

    // Spells the content of a say-as element without markup inside; returns where to go on.
    std::size_t spell(const SsmlTag& tag) {
        const std::string& text = ssml_.text();
        const std::size_t close = text.find('<', tag.end);
        const auto end = close == std::string::npos ? std::nullopt : ssmlTagAt(text, close);
        if (!end || end->kind != SsmlTag::Kind::end || end->name != "say-as") return tag.begin;
        drop(tag);
        appendSpelled(result_, ssml_, tag.end, end->begin);
        copied_ = end->end;
        return end->begin;
    }

    const SourceMappedText& ssml_;
    SourceMappedText result_;
    std::size_t copied_ = 0;
    std::vector<bool> droppedVoices_;  // one per open voice element
};

}  // namespace

SourceMappedText ssmlForEspeak(const SourceMappedText& ssml) { return EspeakRewriter(ssml).run(); }

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
