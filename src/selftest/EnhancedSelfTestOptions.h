#pragma once

#include <optional>
#include <string>
#include <vector>

namespace velmora {

// What the enhanced self test reads from the program's arguments; each flag must be a whole
// argument.
struct EnhancedSelfTestOptions {
    // "-enhanced-voice" and the argument after it: a voice id such as ios6/en-US. The first
    // occurrence counts; as the last argument, with nothing after it, the flag is ignored.
    std::optional<std::string> voice;
    bool remove = false;     // "-enhanced-remove"
    bool removeAll = false;  // "-enhanced-remove-all", which wins over "-enhanced-remove"

    static EnhancedSelfTestOptions read(const std::vector<std::string>& arguments);
};

}  // namespace velmora
