#include "cli/SpeechDispatcherConfig.h"

#include <regex>
#include <set>
#include <sstream>

#include "base/Environment.h"

namespace velmora::cli {
namespace {

const std::string blockStart = "# Velmora's voices, added by \"velmora-cli system-voice enable\"";
const std::string blockEnd = "# End of Velmora's voices";
const std::string madeHeader =
    "# speech-dispatcher's settings for this user, made by \"velmora-cli system-voice enable\":\n"
    "# the system's settings, then the output modules to load.\n";

std::string includeLine() { return "Include \"" + std::string(SpeechDispatcherConfig::systemFile) + "\"\n"; }

std::string addModule(const std::string& name, const std::string& binary) {
    return "AddModule \"" + name + "\" \"" + binary + "\" \"" + name + ".conf\"\n";
}

bool hasOwnAddModule(const std::string& text) {
    static const std::regex active(R"((^|\n)[ \t]*AddModule[ \t])");
    return std::regex_search(text, active);
}

// The modules speech-dispatcher would have found by itself: every "sd_" program of its folder
// but the test module and the generic one, which works only with a configuration of its own.
std::vector<std::string> foundModules(const std::filesystem::path& moduleDir) {
    std::set<std::string> names;
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator(moduleDir, ignored)) {
        const std::string file = entry.path().filename().string();
        if (file.starts_with("sd_") && file != "sd_velmora" && file != "sd_dummy" && file != "sd_generic")
            names.insert(file);
    }
    return {names.begin(), names.end()};
}

}  // namespace

std::filesystem::path SpeechDispatcherConfig::userFile() {
    const auto config = environmentValue("XDG_CONFIG_HOME");
    const std::filesystem::path base =
        config ? std::filesystem::path(*config)
               : std::filesystem::path(environmentValue("HOME").value_or("")) / ".config";
    return base / "speech-dispatcher" / "speechd.conf";
}

std::string SpeechDispatcherConfig::enabled(const std::string& current, const std::filesystem::path& module,
                                            const std::filesystem::path& moduleDir) {
    std::string text = current.empty() ? madeHeader + includeLine() : disabledKeepingFile(current);
    if (!text.empty() && text.back() != '\n') text += '\n';
    const bool ownModules = hasOwnAddModule(text);
    text += blockStart + "\n" + addModule("velmora", module.string());
    if (!ownModules) {
        for (const auto& binary : foundModules(moduleDir)) text += addModule(binary.substr(3), binary);
    }
    return text + blockEnd + "\n";
}

std::string SpeechDispatcherConfig::disabledKeepingFile(const std::string& current) {
    const auto start = current.find(blockStart);
    if (start == std::string::npos) return current;
    const auto end = current.find(blockEnd, start);
    const auto endOfLine = end == std::string::npos ? std::string::npos : current.find('\n', end);
    const auto after = endOfLine == std::string::npos ? current.size() : endOfLine + 1;
    return current.substr(0, start) + current.substr(after);
}

std::string SpeechDispatcherConfig::disabled(const std::string& current) {
    const std::string text = disabledKeepingFile(current);
    return text == madeHeader + includeLine() ? std::string{} : text;
}

bool SpeechDispatcherConfig::isEnabled(const std::string& current) {
    return current.find(blockStart) != std::string::npos;
}

}  // namespace velmora::cli
