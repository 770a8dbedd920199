#include "SourceMappedText.h"

#include <algorithm>

namespace velmora::provider {

SourceMappedText::SourceMappedText(std::string_view original)
    : text_(original), originalSize_(original.size()) {
    origins_.reserve(original.size());
    for (std::size_t at = 0; at < original.size(); ++at) origins_.push_back({at, at + 1});
}

SourceMappedText SourceMappedText::rewriteOf(const SourceMappedText& source) {
    SourceMappedText empty;
    empty.originalSize_ = source.originalSize_;
    return empty;
}

SourceMappedText SourceMappedText::slice(std::size_t at, std::size_t count) const {
    SourceMappedText part = rewriteOf(*this);
    part.copy(*this, at, count);
    return part;
}

void SourceMappedText::copy(const SourceMappedText& from, std::size_t at, std::size_t count) {
    at = std::min(at, from.text_.size());
    count = std::min(count, from.text_.size() - at);
    text_.append(from.text_, at, count);
    origins_.insert(origins_.end(), from.origins_.begin() + static_cast<std::ptrdiff_t>(at),
                    from.origins_.begin() + static_cast<std::ptrdiff_t>(at + count));
}

void SourceMappedText::insert(std::string_view bytes, Span origin) {
    text_.append(bytes);
    origins_.insert(origins_.end(), bytes.size(), origin);
}

SourceMappedText::Span SourceMappedText::origin(std::size_t begin, std::size_t end) const {
    end = std::min(end, origins_.size());
    if (begin >= end) {
        const std::size_t at = begin < origins_.size() ? origins_[begin].begin : originalSize_;
        return {at, at};
    }
    Span span = origins_[begin];
    for (std::size_t at = begin + 1; at < end; ++at) {
        span.begin = std::min(span.begin, origins_[at].begin);
        span.end = std::max(span.end, origins_[at].end);
    }
    return span;
}

}  // namespace velmora::provider
