#include <csignal>
#include <iostream>

#include "speech/NullOutput.h"
#include "speechd/ModuleConfig.h"
#include "speechd/OutputModule.h"

// speech-dispatcher's output module for the voices of the speech providers on the session bus.
// speech-dispatcher starts it as "sd_velmora CONFIG_FILE" and talks to it over standard input
// and output; what it writes on standard error goes to the module's log.
int main(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN);
    const auto config = velmora::speechd::ModuleConfig::read(argc > 1 ? argv[1] : "");
    velmora::AudioOutputFactory outputs = velmora::openAudioOutput;
    if (config.audioOutput == "null") {
        outputs = [](int, double) -> std::unique_ptr<velmora::AudioOutput> {
            return std::make_unique<velmora::NullOutput>();
        };
    }
    velmora::speechd::ModuleChannel channel(std::cin, std::cout);
    velmora::speechd::OutputModule module(channel, std::make_shared<velmora::SpeechSystem>(), outputs);
    module.serve();
    return 0;
}
