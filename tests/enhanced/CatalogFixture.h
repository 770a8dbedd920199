#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velmora::test {

std::vector<std::byte> sha1Of(std::string_view bytes);
std::vector<std::byte> bytesOf(std::string_view text);

// Property-list values as the XML form writes them.
std::string stringValue(std::string_view text);
std::string integerValue(std::int64_t value);
std::string realValue(double value);
std::string dataValue(std::span<const std::byte> bytes);

using Entries = std::vector<std::pair<std::string, std::string>>;
std::string dictXml(const Entries& entries);

// A voice asset as the vendor publishes one, with the keys the program ignores too.
struct AssetSpec {
    std::string format = "4";
    std::string language = "en-US";
    std::string base = "https://example.invalid/voices/";
    std::string relative = "ios6/en-US.zip";
    std::vector<std::byte> digest = std::vector<std::byte>(20, std::byte{0x5a});
    std::int64_t downloadSize = 1000;
    std::int64_t installedSize = 4000;
    std::string mastered = "5.0.1";
};
Entries assetEntries(const AssetSpec& spec);
std::string assetXml(const AssetSpec& spec);

// A whole catalog document around the given asset dictionaries, with other root keys beside
// "Assets" as the vendor's has.
std::string catalogXml(const std::vector<std::string>& assets);

}  // namespace velmora::test
