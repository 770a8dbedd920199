#include <utility>

#include "zip/ZipReader.h"

namespace velmora {

ZipReader::Failure::Failure(Kind kind, std::uint16_t method, std::string detail, const std::string& text)
    : std::runtime_error(text), kind_(kind), method_(method), detail_(std::move(detail)) {}

ZipReader::Failure ZipReader::Failure::unsupportedCompression(std::uint16_t method) {
    return {Kind::unsupportedCompression,
            method,
            {},
            "The archive uses compression method " + std::to_string(method) + "."};
}

ZipReader::Failure ZipReader::Failure::corrupt(std::string detail) {
    const std::string text = "The archive is damaged (" + detail + ").";
    return {Kind::corrupt, 0, std::move(detail), text};
}

ZipReader::Failure ZipReader::Failure::notAZip() {
    return {Kind::notAZip, 0, {}, "The download is not a zip archive."};
}

ZipReader::Failure ZipReader::Failure::unsafeName(std::string name) {
    // A NUL byte would end what() early; it is shown as U+FFFD instead.
    std::string shown;
    for (const char c : name) shown += c == '\0' ? std::string("\uFFFD") : std::string(1, c);
    const std::string text = "The archive holds an unsafe file name (" + shown + ").";
    return {Kind::unsafeName, 0, std::move(name), text};
}

ZipReader::Failure ZipReader::Failure::unsupportedFeature(std::string feature) {
    const std::string text = "The archive uses " + feature + ", which is not supported.";
    return {Kind::unsupportedFeature, 0, std::move(feature), text};
}

}  // namespace velmora
