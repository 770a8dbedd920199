// Parses any bytes as the voice catalog: voices, or one of the catalog's own failures.
#include <cstddef>
#include <cstdint>
#include <span>

#include "enhanced/EnhancedVoiceCatalog.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        velmora::EnhancedVoiceCatalog::parse(std::span(reinterpret_cast<const std::byte*>(data), size));
    } catch (const velmora::EnhancedVoiceCatalog::Failure&) {
    } catch (const velmora::EnhancedVoiceCatalog::NotAPropertyList&) {
    }
    return 0;
}
