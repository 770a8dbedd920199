// system-voice: offers the voices to the whole desktop through speech-dispatcher.
#include <fstream>
#include <iostream>
#include <sstream>

#include "cli/CommandError.h"
#include "cli/Commands.h"
#include "cli/SpeechDispatcherConfig.h"
#include "store/Bundle.h"

namespace velmora::cli {
namespace {

namespace fs = std::filesystem;

std::string readText(const fs::path& file) {
    std::ifstream in(file);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

// Writes beside the file and renames, so a failure never leaves half a settings file.
void writeText(const fs::path& file, const std::string& text) {
    fs::create_directories(file.parent_path());
    const fs::path staged = file.string() + ".velmora-new";
    {
        std::ofstream out(staged, std::ios::trunc);
        out << text;
        if (!out.flush()) throw CommandError("Could not write " + staged.string() + ".");
    }
    fs::rename(staged, file);
}

constexpr const char* restartHint =
    "speech-dispatcher reads its settings when it starts: end the running one with\n"
    "\"killall speech-dispatcher\" (or log out and in); programs start it again when they speak.\n";
constexpr const char* orcaHint =
    "In Orca: open Orca's Preferences (Orca key + Space), Voice page: Speech system \"Speech Dispatcher\",\n"
    "Speech synthesizer \"velmora\", then choose a voice under Person.\n"
    "Try it: spd-say -o velmora -L   lists the voices; spd-say -o velmora \"Hello\" speaks.\n";

void enable() {
    const fs::path module = Bundle::main().folder() / "sd_velmora";
    if (!fs::exists(module)) throw CommandError("The output module is missing: " + module.string() + ".");
    const fs::path file = SpeechDispatcherConfig::userFile();
    const std::string current = fs::exists(file) ? readText(file) : std::string{};
    writeText(file,
              SpeechDispatcherConfig::enabled(current, module, SpeechDispatcherConfig::systemModuleDir));
    std::cout << "Velmora's voices are offered to speech-dispatcher: " << file.string() << " loads "
              << module.string() << ".\n"
              << restartHint << orcaHint;
}

void disable() {
    const fs::path file = SpeechDispatcherConfig::userFile();
    const std::string current = fs::exists(file) ? readText(file) : std::string{};
    if (!SpeechDispatcherConfig::isEnabled(current)) {
        std::cout << "Velmora's voices were not enabled in " << file.string() << "; nothing changed.\n";
        return;
    }
    const std::string rest = SpeechDispatcherConfig::disabled(current);
    if (rest.empty())
        fs::remove(file);
    else
        writeText(file, rest);
    std::cout << "Velmora's lines are removed from " << file.string() << ".\n" << restartHint;
}

void status() {
    const fs::path file = SpeechDispatcherConfig::userFile();
    const bool enabled = fs::exists(file) && SpeechDispatcherConfig::isEnabled(readText(file));
    const fs::path installed = fs::path(SpeechDispatcherConfig::systemModuleDir) / "sd_velmora";
    std::cout << (enabled ? "enabled for this user in " + file.string() : "not enabled for this user") << '\n'
              << (fs::exists(installed) ? "installed for every user: " : "not installed for every user (") +
                     installed.string() + (fs::exists(installed) ? "" : ")")
              << '\n';
    if (enabled || fs::exists(installed)) std::cout << orcaHint;
}

}  // namespace

void addSystemVoiceCommand(CLI::App& app) {
    auto* command = app.add_subcommand(
        "system-voice", "Offers the voices to the desktop (Orca, spd-say) through speech-dispatcher");
    command->require_subcommand(1);
    command->add_subcommand("enable", "Makes this user's speech-dispatcher load Velmora's output module")
        ->callback(enable);
    command->add_subcommand("disable", "Removes the lines that enable added")->callback(disable);
    command->add_subcommand("status", "Whether the module is enabled for this user or installed for all")
        ->callback(status);
}

}  // namespace velmora::cli
