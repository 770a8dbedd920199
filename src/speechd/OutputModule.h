#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "speech/AudioOutput.h"
#include "speech/SpeechSystem.h"
#include "speechd/MessagePlayer.h"
#include "speechd/ModuleChannel.h"
#include "speechd/SpeechSettings.h"
#include "speechd/VoiceCatalog.h"

namespace velmora::speechd {

// speech-dispatcher's output module protocol over a channel: INIT, AUDIO, LOGLEVEL, SET,
// LIST VOICES, SPEAK, CHAR, KEY, SOUND_ICON, STOP, PAUSE and QUIT, answered with the server's
// reply codes, each message spoken through the speech client.
class OutputModule {
public:
    OutputModule(ModuleChannel& channel, std::shared_ptr<SpeechSystem> system, AudioOutputFactory outputs);

    // Answers commands until QUIT or until the server closes the pipe.
    void serve();

private:
    using MessageMaker = std::function<Message(const std::string&)>;

    // Handles one command line; false for QUIT.
    bool handle(const std::string& command);
    void receiveSettings(const std::string& accepted, const std::string& applied, bool isSet);
    void listVoices();
    void receiveMessage(const MessageMaker& make);
    Message message(const std::string& text, bool isSsml);

    ModuleChannel& channel_;
    std::shared_ptr<SpeechSystem> system_;
    VoiceCatalog catalog_;
    SpeechSettings settings_;
    MessagePlayer player_;
};

}  // namespace velmora::speechd
