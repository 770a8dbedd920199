// VelmoraVoice: the reference voice provider, a speech provider on the session bus that D-Bus
// starts on demand. It speaks the compact voice data in its bundle with espeak-ng, or the pack
// that the application installed in the shared container.
#include <pthread.h>
#include <sdbus-c++/sdbus-c++.h>

#include <csignal>
#include <exception>
#include <iostream>

#include "CompactVoice.h"
#include "Confinement.h"
#include "EspeakEngine.h"
#include "SpeechProviderServer.h"
#include "store/VoiceStore.h"

namespace {

using namespace velmora;
using namespace velmora::provider;

void prepareSignals() {
    // Closed pipes show as EPIPE.
    std::signal(SIGPIPE, SIG_IGN);
    // Ended children are read from a descriptor in the server's loop.
    sigset_t childEnded;
    sigemptyset(&childEnded);
    sigaddset(&childEnded, SIGCHLD);
    ::pthread_sigmask(SIG_BLOCK, &childEnded, nullptr);
}

void serve() {
    prepareSignals();
    confineProcess();
    EspeakEngine::initialise();
    auto resources = VoiceStore::resourceFolder();
    auto voices = resources ? compactVoices(*resources) : std::vector<CompactVoice>{};
    if (voices.empty()) std::cerr << "VelmoraVoice: no compact voice data in the bundle's Resources folder\n";
    // Resolved once, here, so that the children forked for each utterance share the result.
    VoiceStore::group();

    auto connection = sdbus::createSessionBusConnection(SpeechProviderServer::busName);
    SpeechProviderServer server(*connection, std::move(voices));
    server.serve();
}

}  // namespace

int main() {
    try {
        serve();
        return 0;
    } catch (const sdbus::Error& error) {
        // The session ended: nothing is left to serve.
        if (error.getName() == "org.freedesktop.DBus.Error.Disconnected") return 0;
        std::cerr << "VelmoraVoice: " << error.what() << '\n';
        return 1;
    } catch (const std::exception& error) {
        std::cerr << "VelmoraVoice: " << error.what() << '\n';
        return 1;
    }
}
