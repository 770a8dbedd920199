#pragma once

#include <string>
#include <string_view>

namespace velmora::speechd {

// The message parameters speech-dispatcher sets with SET, on its own scales: rate, pitch and
// volume from -100 to 100 (0 normal for rate and pitch, 100 full volume); "NULL" or empty
// strings for what the client left unset.
struct SpeechSettings {
    int rate = 0;
    int pitch = 0;
    int volume = 100;
    std::string voiceType;       // "male1" ... "child_female"
    std::string language;        // a BCP 47 tag such as "en" or "en-US"
    std::string synthesisVoice;  // a name from the module's voice list

    // Takes one "name=value" line; false for a number out of range or not a number. Names the
    // module has no use for (punctuation, spelling, capitals) are accepted and ignored.
    bool apply(std::string_view line);
};

// The scales of the speech client, each monotonic in its setting:
// rate -100..100 onto 0.125..0.875 of the platform scale (about a third to three times normal
// speed, the span screen-reader users set), 0 onto 0.5, normal;
float platformRate(int rate);
// pitch -100..100 onto a multiplier of 0.5..2, an octave each way, 0 onto 1;
float pitchMultiplier(int pitch);
// volume -100..100 onto a sample gain of 0..1.
float volumeGain(int volume);

}  // namespace velmora::speechd
