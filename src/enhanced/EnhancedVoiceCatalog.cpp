#include "enhanced/EnhancedVoiceCatalog.h"

#include <curl/curl.h>
#include <plist/plist.h>

#include <cmath>
#include <limits>
#include <map>
#include <memory>
#include <optional>

#include "base/Environment.h"
#include "base/PlistPointer.h"
#include "enhanced/DisplayOrder.h"
#include "enhanced/HttpTransfer.h"
#include "enhanced/WebPageAnswer.h"
#include "store/VoiceStore.h"

namespace velmora {
namespace {

constexpr const char* vendorCatalog =
    "https://mesu.apple.com/assets/com_apple_MobileAsset_VoiceServicesVocalizerVoice/"
    "com_apple_MobileAsset_VoiceServicesVocalizerVoice.xml";
// The vendor's catalog is a few hundred kilobytes; anything far larger is not a catalog.
constexpr std::size_t largestCatalog = 64u << 20;

plist_t item(plist_t dict, const char* key, plist_type type) {
    plist_t node = plist_dict_get_item(dict, key);
    return node != nullptr && plist_get_node_type(node) == type ? node : nullptr;
}

std::optional<std::string> text(plist_t dict, const char* key) {
    plist_t node = item(dict, key, PLIST_STRING);
    if (node == nullptr) return std::nullopt;
    std::uint64_t length = 0;
    const char* value = plist_get_string_ptr(node, &length);
    return std::string(value, length);
}

std::optional<std::vector<std::byte>> bytes(plist_t dict, const char* key) {
    plist_t node = item(dict, key, PLIST_DATA);
    if (node == nullptr) return std::nullopt;
    std::uint64_t length = 0;
    const auto* value = reinterpret_cast<const std::byte*>(plist_get_data_ptr(node, &length));
    return std::vector<std::byte>(value, value + length);
}

// Integers as the signed value the parser stored; reals truncated towards zero.
std::int64_t number(plist_t dict, const char* key) {
    if (plist_t node = item(dict, key, PLIST_UINT)) {
        std::uint64_t value = 0;
        plist_get_uint_val(node, &value);
        return static_cast<std::int64_t>(value);
    }
    if (plist_t node = item(dict, key, PLIST_REAL)) {
        double value = 0;
        plist_get_real_val(node, &value);
        if (std::isnan(value)) return 0;
        constexpr double limit = 9.2233720368547748e18;  // 2^63, the first double out of range
        if (value >= limit) return std::numeric_limits<std::int64_t>::max();
        if (value < -limit) return std::numeric_limits<std::int64_t>::min();
        return static_cast<std::int64_t>(value);
    }
    return 0;
}

bool isUrl(const std::string& address) {
    CURLU* parsed = curl_url();
    const bool valid = curl_url_set(parsed, CURLUPART_URL, address.c_str(), 0) == CURLUE_OK;
    curl_url_cleanup(parsed);
    return valid;
}

std::map<std::string, VoiceRelease> releasesByFormat() {
    std::map<std::string, VoiceRelease> releases;
    for (const auto& release : VoiceRelease::downloadable())
        releases.emplace(*release.formatVersion, release);
    return releases;
}

// An asset becomes a voice only when every required key is there with its type; checked in
// this order, the first miss skips it.
std::optional<EnhancedVoice> voiceOf(plist_t asset, const std::map<std::string, VoiceRelease>& releases) {
    auto format = text(asset, "FormatVersion");
    if (!format) return std::nullopt;
    auto release = releases.find(*format);
    if (release == releases.end()) return std::nullopt;
    // A language that is not one plain name ("en/US", "..") could name no pack folder.
    auto locale = text(asset, "Language");
    if (!locale || !VoiceStore::isPlainName(*locale)) return std::nullopt;
    auto base = text(asset, "__BaseURL");
    auto relative = text(asset, "__RelativePath");
    if (!base || !relative) return std::nullopt;
    std::string address = *base + *relative;
    if (!isUrl(address)) return std::nullopt;
    auto digest = bytes(asset, "_Measurement");
    if (!digest) return std::nullopt;
    return EnhancedVoice{release->second,
                         *locale,
                         number(asset, "_DownloadSize"),
                         number(asset, "_UnarchivedSize"),
                         std::move(address),
                         std::move(*digest),
                         text(asset, "_MasteredVersion").value_or("")};
}

plist_t assetArray(plist_t root) {
    if (root == nullptr || plist_get_node_type(root) != PLIST_DICT) return nullptr;
    plist_t assets = item(root, "Assets", PLIST_ARRAY);
    if (assets == nullptr) return nullptr;
    // One element that is not a dictionary makes the whole catalog unreadable.
    for (std::uint32_t i = 0, n = plist_array_get_size(assets); i < n; ++i) {
        if (plist_get_node_type(plist_array_get_item(assets, i)) != PLIST_DICT) return nullptr;
    }
    return assets;
}

}  // namespace

EnhancedVoiceCatalog::Failure::Failure(std::variant<BadResponse, Unreadable> value, const std::string& text)
    : std::runtime_error(text), value_(value) {}

EnhancedVoiceCatalog::Failure EnhancedVoiceCatalog::Failure::badResponse(long status) {
    return {BadResponse{status}, "Apple's voice catalog answered with HTTP " + std::to_string(status) + "."};
}

EnhancedVoiceCatalog::Failure EnhancedVoiceCatalog::Failure::unreadable() {
    return {Unreadable{}, "Apple's voice catalog could not be read."};
}

EnhancedVoiceCatalog::NotAPropertyList::NotAPropertyList()
    : std::runtime_error("The data couldn't be read because it isn't in the correct format.") {}

const std::string& EnhancedVoiceCatalog::url() {
    static const std::string address = environmentValue("VELMORA_CATALOG_URL").value_or(vendorCatalog);
    return address;
}

std::vector<EnhancedVoice> EnhancedVoiceCatalog::fetch(std::stop_token stop) {
    return fetch(url(), std::move(stop));
}

std::vector<EnhancedVoice> EnhancedVoiceCatalog::fetch(const std::string& address, std::stop_token stop) {
    std::vector<std::byte> body;
    std::string contentType;
    HttpTransfer transfer(address);
    const long status = transfer.run(
        [&](std::span<const std::byte> piece, const HttpTransfer::Head& head) {
            if (body.size() + piece.size() > largestCatalog) throw Failure::unreadable();
            body.insert(body.end(), piece.begin(), piece.end());
            contentType = head.contentType;
        },
        stop);
    if (status != 200) throw Failure::badResponse(status);
    if (auto page = WebPageAnswer::describe(contentType, body)) throw WebPageAnswer::insteadOfCatalog(*page);
    return parse(body);
}

std::vector<EnhancedVoice> EnhancedVoiceCatalog::parse(std::span<const std::byte> body) {
    if (body.size() > largestCatalog) throw Failure::unreadable();
    plist_t parsed = nullptr;
    plist_from_memory(reinterpret_cast<const char*>(body.data()), static_cast<std::uint32_t>(body.size()),
                      &parsed);
    if (parsed == nullptr) throw NotAPropertyList();
    const PlistPointer root(parsed);
    plist_t assets = assetArray(parsed);
    if (assets == nullptr) throw Failure::unreadable();

    const auto releases = releasesByFormat();
    std::vector<EnhancedVoice> voices;
    for (std::uint32_t i = 0, n = plist_array_get_size(assets); i < n; ++i) {
        if (auto voice = voiceOf(plist_array_get_item(assets, i), releases))
            voices.push_back(std::move(*voice));
    }
    sortForDisplay(voices);
    return voices;
}

}  // namespace velmora
