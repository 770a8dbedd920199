#pragma once

#include <string>

namespace velmora::speechd {

// What a speech provider is handed for one message.
struct MessageText {
    std::string text;
    bool isSsml = true;

    bool operator==(const MessageText&) const = default;
};

// A SPEAK message: the SSML as speech-dispatcher sends it; text that is not SSML the provider
// accepts (a client may send plain text with "<" in it) is spoken as plain text.
MessageText spokenMessage(const std::string& received);
// A CHAR message: the character spelled, a space named.
MessageText spokenCharacter(const std::string& character);
// A KEY message, such as "ctrl_alt_f1" or "shift_kp-enter": modifiers and key as words
// ("control alt f1", "shift keypad enter"), a one-character key spelled.
MessageText spokenKey(const std::string& key);
// A SOUND_ICON message: its name said, as words.
MessageText spokenIcon(const std::string& icon);

}  // namespace velmora::speechd
