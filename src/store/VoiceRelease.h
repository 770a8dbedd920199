#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "base/Fnv1a.h"

namespace velmora {

// One old mobile OS release whose voices the extension provides.
struct VoiceRelease {
    std::string name;                          // "ios5": directory under Voices/, cache-key prefix
    std::string label;                         // "iOS 5": shown to the user
    std::optional<std::string> directory;      // compact-data sub-directory; absent for iOS 4
    std::optional<std::string> formatVersion;  // catalog "FormatVersion"; absent: no enhanced voices
    bool enhancedTakesPitch = false;

    bool operator==(const VoiceRelease&) const = default;

    // The fixed table of five releases, in table order.
    static const std::vector<VoiceRelease>& all();
    // The releases of all() that have a formatVersion, in table order.
    static std::vector<VoiceRelease> downloadable();
    // The release of all() with this name, if any.
    static std::optional<VoiceRelease> named(std::string_view name);
};

// Feeds bytes to a 64-bit FNV-1a hash; shared by the records' std::hash specialisations so
// that every field is hashed in field order.
class FieldHasher {
public:
    void bytes(const void* data, std::size_t size) { hash_.add(data, size); }
    void text(std::string_view value);
    void optionalText(const std::optional<std::string>& value);
    void byte(unsigned char value) { bytes(&value, 1); }
    void integer(long long value) { bytes(&value, sizeof value); }
    std::size_t result() const { return static_cast<std::size_t>(hash_.value()); }

private:
    Fnv1a hash_;
};

void hashInto(FieldHasher& hasher, const VoiceRelease& release);

}  // namespace velmora

template <>
struct std::hash<velmora::VoiceRelease> {
    std::size_t operator()(const velmora::VoiceRelease& release) const;
};
