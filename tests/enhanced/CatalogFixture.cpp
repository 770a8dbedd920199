#include "CatalogFixture.h"

#include <openssl/evp.h>
#include <openssl/sha.h>

#include <algorithm>
#include <cstdio>

namespace velmora::test {

std::vector<std::byte> sha1Of(std::string_view bytes) {
    std::vector<std::byte> digest(SHA_DIGEST_LENGTH);
    unsigned int length = 0;
    EVP_Digest(bytes.data(), bytes.size(), reinterpret_cast<unsigned char*>(digest.data()), &length,
               EVP_sha1(), nullptr);
    return digest;
}

std::vector<std::byte> bytesOf(std::string_view text) {
    const auto* begin = reinterpret_cast<const std::byte*>(text.data());
    return {begin, begin + text.size()};
}

std::string stringValue(std::string_view text) { return "<string>" + std::string(text) + "</string>"; }

std::string integerValue(std::int64_t value) { return "<integer>" + std::to_string(value) + "</integer>"; }

std::string realValue(double value) {
    char text[64];
    std::snprintf(text, sizeof text, "%.3f", value);
    return "<real>" + std::string(text) + "</real>";
}

std::string dataValue(std::span<const std::byte> bytes) {
    std::string encoded(4 * ((bytes.size() + 2) / 3) + 1, '\0');
    const int length =
        EVP_EncodeBlock(reinterpret_cast<unsigned char*>(encoded.data()),
                        reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<int>(bytes.size()));
    encoded.resize(static_cast<std::size_t>(length));
    return "<data>\n\t\t" + encoded + "\n\t\t</data>";
}

std::string dictXml(const Entries& entries) {
    std::string xml = "<dict>\n";
    for (const auto& [key, value] : entries) xml += "\t\t<key>" + key + "</key>\n\t\t" + value + "\n";
    return xml + "\t</dict>";
}

Entries assetEntries(const AssetSpec& spec) {
    return {
        {"Build", stringValue("10A403")},
        {"FormatVersion", stringValue(spec.format)},
        {"Gender", stringValue("Female")},
        {"Language", stringValue(spec.language)},
        {"Quality", integerValue(2)},
        {"_CompatibilityVersion", integerValue(1)},
        {"_CompressionAlgorithm", stringValue("zip")},
        {"_DownloadSize", integerValue(spec.downloadSize)},
        {"_IsZipStreamable", "<true/>"},
        {"_MasteredVersion", stringValue(spec.mastered)},
        {"_Measurement", dataValue(spec.digest)},
        {"_MeasurementAlgorithm", stringValue("SHA-1")},
        {"_UnarchivedSize", integerValue(spec.installedSize)},
        {"__BaseURL", stringValue(spec.base)},
        {"__CanUseLocalCacheServer", "<true/>"},
        {"__RelativePath", stringValue(spec.relative)},
    };
}

std::string assetXml(const AssetSpec& spec) { return dictXml(assetEntries(spec)); }

std::string catalogXml(const std::vector<std::string>& assets) {
    std::string xml =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
        "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
        "<plist version=\"1.0\">\n<dict>\n"
        "\t<key>AssetType</key>\n\t<string>com.apple.MobileAsset.VoiceServicesVocalizerVoice</string>\n"
        "\t<key>Assets</key>\n\t<array>\n";
    for (const auto& asset : assets) xml += "\t" + asset + "\n";
    return xml +
           "\t</array>\n"
           "\t<key>FormatVersion</key>\n\t<integer>1</integer>\n"
           "\t<key>Signature</key>\n\t<data>AAEC</data>\n"
           "</dict>\n</plist>\n";
}

}  // namespace velmora::test
