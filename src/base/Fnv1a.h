#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace velmora {

// The 64-bit FNV-1a hash of the bytes fed to it, in order.
class Fnv1a {
public:
    void add(const void* data, std::size_t size) {
        const auto* bytes = static_cast<const unsigned char*>(data);
        for (std::size_t i = 0; i < size; ++i) {
            state_ ^= bytes[i];
            state_ *= 1099511628211ull;
        }
    }
    void add(std::string_view bytes) { add(bytes.data(), bytes.size()); }
    std::uint64_t value() const { return state_; }

private:
    std::uint64_t state_ = 14695981039346656037ull;
};

}  // namespace velmora
