#include "selftest/EnhancedSelfTestOptions.h"

#include <algorithm>

namespace velmora {
namespace {

constexpr const char* voiceFlag = "-enhanced-voice";
constexpr const char* removeFlag = "-enhanced-remove";
constexpr const char* removeAllFlag = "-enhanced-remove-all";

}  // namespace

EnhancedSelfTestOptions EnhancedSelfTestOptions::read(const std::vector<std::string>& arguments) {
    EnhancedSelfTestOptions options;
    const auto flag = std::ranges::find(arguments, voiceFlag);
    if (flag != arguments.end() && flag + 1 != arguments.end()) options.voice = *(flag + 1);
    options.remove = std::ranges::find(arguments, removeFlag) != arguments.end();
    options.removeAll = std::ranges::find(arguments, removeAllFlag) != arguments.end();
    return options;
}

}  // namespace velmora
