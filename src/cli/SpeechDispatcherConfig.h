#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace velmora::cli {

// The user's speech-dispatcher settings file ($XDG_CONFIG_HOME/speech-dispatcher/speechd.conf)
// and the lines that make speech-dispatcher load Velmora's output module. speech-dispatcher 0.11
// reads the user's file instead of the system's, and loads every module it finds only while no
// AddModule line is in force; so the lines added keep those modules, and a file made here
// starts by including the system's file.
class SpeechDispatcherConfig {
public:
    static constexpr const char* systemFile = "/etc/speech-dispatcher/speechd.conf";
    static constexpr const char* systemModuleDir = "/usr/lib/speech-dispatcher-modules";

    // $XDG_CONFIG_HOME/speech-dispatcher/speechd.conf, or under ~/.config.
    static std::filesystem::path userFile();

    // The text of `current` (empty: no file) with Velmora's lines in place of any earlier ones:
    // the module at `module`, and the modules found in `moduleDir` when `current` has no
    // AddModule line of its own.
    static std::string enabled(const std::string& current, const std::filesystem::path& module,
                               const std::filesystem::path& moduleDir);
    // The text without Velmora's lines; empty when nothing but what enabled() made is left.
    static std::string disabled(const std::string& current);
    // Whether the text has Velmora's lines.
    static bool isEnabled(const std::string& current);

private:
    static std::string disabledKeepingFile(const std::string& current);
};

}  // namespace velmora::cli
