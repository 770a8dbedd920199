#pragma once

#include <sdbus-c++/sdbus-c++.h>

#include <memory>
#include <string>
#include <vector>

#include "CompactVoice.h"
#include "UtteranceChildren.h"

namespace velmora::provider {

// The org.freedesktop.Speech.Provider object on the session bus. Each Synthesize call is
// spoken by a child process of its own, forked at once, so the bus loop never waits for an
// utterance, a client that closes its pipe early ends only its own child, and requests run side
// by side, up to UtteranceChildren::maximumPerClient of one client at once; beyond that a call
// is refused with the error `busyError`. Ended children are reaped at the next call.
class SpeechProviderServer {
public:
    static constexpr const char* busName = "com.tarvenholt.Velmora.Speech.Provider";
    static constexpr const char* objectPath = "/com/tarvenholt/Velmora/Speech/Provider";
    static constexpr const char* interfaceName = "org.freedesktop.Speech.Provider";
    static constexpr const char* providerName = "Velmora Voice";
    static constexpr const char* unknownVoiceError =
        "com.tarvenholt.Velmora.Speech.Provider.Error.UnknownVoice";
    static constexpr const char* busyError = "com.tarvenholt.Velmora.Speech.Provider.Error.Busy";

    // The feature bits of the interface that every voice honours: word, sentence and SSML mark
    // events, and the SSML elements espeak-ng reads (say-as characters, break, sub, emphasis,
    // prosody, s and p).
    static const std::uint64_t voiceFeatures;

    SpeechProviderServer(sdbus::IConnection& connection, std::vector<CompactVoice> voices);

    // "audio/x-spiel,format=S16LE,channels=1,rate=<engine rate>": the framed stream.
    static std::string outputFormat();

private:
    using VoiceEntry =
        sdbus::Struct<std::string, std::string, std::string, std::uint64_t, std::vector<std::string>>;

    std::vector<VoiceEntry> voiceEntries() const;
    void synthesize(const sdbus::UnixFd& pipe, const std::string& text, const std::string& voiceId,
                    double pitch, double rate, bool isSsml, const std::string& language);

    std::vector<CompactVoice> voices_;
    UtteranceChildren children_;
    std::unique_ptr<sdbus::IObject> object_;
};

}  // namespace velmora::provider
