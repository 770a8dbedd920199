#pragma once

#include <CLI/CLI.hpp>

namespace velmora::cli {

// Each family of commands adds its sub-commands to the application. A command's callback
// prints its result on standard output and throws on failure; main() turns the exception's
// text into a line on standard error and exit status 1.
void addStoreCommands(CLI::App& app);
void addSpeechCommands(CLI::App& app);
void addRenderCommand(CLI::App& app);
void addZipCommands(CLI::App& app);
void addEnhancedCommands(CLI::App& app);
void addSelfTestCommand(CLI::App& app);
void addSystemVoiceCommand(CLI::App& app);

}  // namespace velmora::cli
