#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace velmora::provider {

// Text on its way from the client to the engine, rewritten step by step (pronunciation rules,
// blanks, break times), that remembers for each of its bytes which bytes of the client's text
// it came from. Positions the engine reports in its text thus map back to the client's.
class SourceMappedText {
public:
    // A byte range [begin, end) of the client's text.
    struct Span {
        std::size_t begin = 0;
        std::size_t end = 0;
    };

    SourceMappedText() = default;
    // The client's own text: every byte comes from itself.
    explicit SourceMappedText(std::string_view original);

    // An empty text to rewrite `source` into.
    static SourceMappedText rewriteOf(const SourceMappedText& source);

    const std::string& text() const { return text_; }
    // Bytes [at, at + count) of this text, keeping their origin.
    SourceMappedText slice(std::size_t at, std::size_t count) const;

    // Building a rewritten text: bytes copied from another mapped text keep their origin; new
    // bytes come from the span they stand for.
    void copy(const SourceMappedText& from, std::size_t at, std::size_t count);
    void insert(std::string_view bytes, Span origin);
    void append(const SourceMappedText& from) { copy(from, 0, from.text_.size()); }

    // The bytes of the client's text that bytes [begin, end) of this text came from. A range
    // past the end of this text maps to the end of the client's.
    Span origin(std::size_t begin, std::size_t end) const;

private:
    std::string text_;
    std::vector<Span> origins_;  // one per byte of text_
    std::size_t originalSize_ = 0;
};

}  // namespace velmora::provider
