#pragma once

#include <sdbus-c++/sdbus-c++.h>

#include <memory>
#include <string>
#include <vector>

#include "CompactVoice.h"
#include "UtteranceQueue.h"

namespace velmora::provider {

// The org.freedesktop.Speech.Provider object on the session bus. Every well-formed Synthesize
// call is accepted and answered at once; its utterance is spoken by a child process of its own,
// in the order the client sent them and a few at a time (UtteranceQueue), so the bus loop never
// waits for an utterance and a client that closes its pipe early ends only its own child. Only
// a client past the queue's bounds (thousands of utterances waiting) is refused, with `busyError`.
class SpeechProviderServer {
public:
    static constexpr const char* busName = "com.tarvenholt.Velmora.Speech.Provider";
    static constexpr const char* objectPath = "/com/tarvenholt/Velmora/Speech/Provider";
    static constexpr const char* interfaceName = "org.freedesktop.Speech.Provider";
    static constexpr const char* providerName = "Velmora Voice";
    static constexpr const char* unknownVoiceError =
        "com.tarvenholt.Velmora.Speech.Provider.Error.UnknownVoice";
    static constexpr const char* busyError = "com.tarvenholt.Velmora.Speech.Provider.Error.Busy";

    SpeechProviderServer(sdbus::IConnection& connection, std::vector<CompactVoice> voices);

    // "audio/x-spiel,format=S16LE,channels=1,rate=<engine rate>": the framed stream.
    static std::string outputFormat();

    // Serves the bus until it disconnects, starting waiting utterances as children end.
    // SIGCHLD must be blocked in every thread of the process.
    void serve();

private:
    using VoiceEntry =
        sdbus::Struct<std::string, std::string, std::string, std::uint64_t, std::vector<std::string>>;

    std::vector<VoiceEntry> voiceEntries() const;
    void synthesize(const sdbus::UnixFd& pipe, const std::string& text, const std::string& voiceId,
                    double pitch, double rate, bool isSsml, const std::string& language);

    sdbus::IConnection& connection_;
    std::vector<CompactVoice> voices_;
    UtteranceQueue queue_;
    std::unique_ptr<sdbus::IObject> object_;
};

}  // namespace velmora::provider
