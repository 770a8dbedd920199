#pragma once

#include <cstddef>
#include <span>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <variant>
#include <vector>

#include "enhanced/EnhancedVoice.h"

namespace velmora {

// The vendor's public catalog of downloadable voices: fetched afresh each time, never stored.
struct EnhancedVoiceCatalog {
    class Failure : public std::runtime_error {
    public:
        struct BadResponse {
            long status;
            bool operator==(const BadResponse&) const = default;
        };
        struct Unreadable {
            bool operator==(const Unreadable&) const = default;
        };

        static Failure badResponse(long status);
        static Failure unreadable();

        const std::variant<BadResponse, Unreadable>& value() const { return value_; }
        bool operator==(const Failure& other) const { return value_ == other.value_; }

    private:
        Failure(std::variant<BadResponse, Unreadable> value, const std::string& text);
        std::variant<BadResponse, Unreadable> value_;
    };

    // The body is not a property list at all.
    class NotAPropertyList : public std::runtime_error {
    public:
        NotAPropertyList();
    };

    // The vendor's address, or VELMORA_CATALOG_URL when it is set (a mirror, or a test server).
    static const std::string& url();
    // Downloads and parses the catalog at url(). Throws Failure, NotAPropertyList, TransferFailure,
    // or WebPageAnswer when a web page came back instead.
    static std::vector<EnhancedVoice> fetch(std::stop_token stop = {});
    // The same for a catalog at another address.
    static std::vector<EnhancedVoice> fetch(const std::string& address, std::stop_token stop = {});
    // The voices of a catalog body (XML or binary property list), in display order.
    static std::vector<EnhancedVoice> parse(std::span<const std::byte> body);
};

}  // namespace velmora
