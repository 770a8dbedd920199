#include <exception>
#include <iostream>

#include "cli/Commands.h"

int main(int argc, char** argv) {
    CLI::App app{"Velmora: the voices of old mobile OS releases, their packs and downloads"};
    app.name("velmora-cli");
    app.require_subcommand(1);
    velmora::cli::addStoreCommands(app);
    velmora::cli::addSpeechCommands(app);
    velmora::cli::addRenderCommand(app);
    velmora::cli::addZipCommands(app);
    velmora::cli::addEnhancedCommands(app);
    velmora::cli::addSelfTestCommand(app);
    velmora::cli::addSystemVoiceCommand(app);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 1;
    } catch (const std::exception& error) {
        std::cerr << "velmora-cli: " << error.what() << '\n';
        return 1;
    }
    return 0;
}
