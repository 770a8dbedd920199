#pragma once

#include <plist/plist.h>

#include <memory>

namespace velmora {

// Owns a libplist node and frees it with everything below it. Header only: the modules that
// use it link libplist themselves.
struct PlistFree {
    void operator()(plist_t node) const { plist_free(node); }
};
using PlistPointer = std::unique_ptr<void, PlistFree>;

}  // namespace velmora
