#pragma once

#include <sdbus-c++/sdbus-c++.h>

#include <memory>
#include <string>
#include <vector>

#include "ProviderVoice.h"

namespace velmora::provider {

// The org.freedesktop.Speech.Provider object on the session bus. Each Synthesize call is
// spoken by a child process of its own, forked at once, so the bus loop never waits for an
// utterance, a client that closes its pipe early ends only its own child, and any number of
// requests run side by side. Children are reaped by the kernel (SIGCHLD is ignored).
class SpeechProviderServer {
public:
    static constexpr const char* busName = "com.tarvenholt.Velmora.Speech.Provider";
    static constexpr const char* objectPath = "/com/tarvenholt/Velmora/Speech/Provider";
    static constexpr const char* interfaceName = "org.freedesktop.Speech.Provider";
    static constexpr const char* providerName = "Velmora Voice";

    SpeechProviderServer(sdbus::IConnection& connection, std::vector<ProviderVoice> voices);

    // "audio/x-raw,format=S16LE,channels=1,rate=<engine rate>": raw samples, no framing.
    static std::string outputFormat();

private:
    using VoiceEntry =
        sdbus::Struct<std::string, std::string, std::string, std::uint64_t, std::vector<std::string>>;

    std::vector<VoiceEntry> voiceEntries() const;
    void synthesize(const sdbus::UnixFd& pipe, const std::string& text, const std::string& voiceId,
                    double pitch, double rate, bool isSsml, const std::string& language);

    std::vector<ProviderVoice> voices_;
    std::unique_ptr<sdbus::IObject> object_;
};

}  // namespace velmora::provider
