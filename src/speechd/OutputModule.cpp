#include "speechd/OutputModule.h"

#include <iostream>

#include "speechd/MessageText.h"

namespace velmora::speechd {

OutputModule::OutputModule(ModuleChannel& channel, std::shared_ptr<SpeechSystem> system,
                           AudioOutputFactory outputs)
    : channel_(channel),
      system_(system),
      catalog_(system),
      player_(system, std::move(outputs),
              [&channel](const std::vector<std::string>& lines) { channel.send(lines); }) {}

void OutputModule::serve() {
    while (auto command = channel_.readLine()) {
        if (!handle(*command)) return;
    }
}

bool OutputModule::handle(const std::string& command) {
    auto text = [](const std::string& line) { return spokenMessage(line); };
    if (command == "INIT") {
        if (!system_->bus()) {
            channel_.send({"399-Velmora: there is no session bus, so there are no speech providers.",
                           "399 ERR CANT INIT MODULE"});
            return true;
        }
        const auto voices = catalog_.refresh();
        channel_.send({"299-Velmora: " + std::to_string(voices.size()) +
                           " voices of the speech providers on the session bus.",
                       "299 OK LOADED SUCCESSFULLY"});
    } else if (command == "AUDIO") {
        receiveSettings("207 OK RECEIVING AUDIO SETTINGS", "203 OK AUDIO INITIALIZED", false);
    } else if (command == "LOGLEVEL") {
        receiveSettings("207 OK RECEIVING LOGLEVEL SETTINGS", "203 OK LOGLEVEL SET", false);
    } else if (command == "SET") {
        receiveSettings("203 OK RECEIVING SETTINGS", "203 OK SETTINGS RECEIVED", true);
    } else if (command == "LIST VOICES") {
        listVoices();
    } else if (command == "SPEAK") {
        receiveMessage([&](const std::string& received) {
            const MessageText spoken = text(received);
            return message(spoken.text, spoken.isSsml);
        });
    } else if (command == "CHAR" || command == "KEY" || command == "SOUND_ICON") {
        const auto spell = command == "CHAR" ? spokenCharacter : command == "KEY" ? spokenKey : spokenIcon;
        receiveMessage([&](const std::string& received) {
            const MessageText spoken = spell(received);
            return message(spoken.text, spoken.isSsml);
        });
    } else if (command == "STOP") {
        player_.stop();
    } else if (command == "PAUSE") {
        player_.pause();
    } else if (command == "QUIT") {
        player_.stop();
        channel_.sendLine("210 OK QUIT");
        return false;
    } else if (command.starts_with("DEBUG")) {
        channel_.sendLine("200 OK DEBUGGING SET");
    } else {
        channel_.sendLine("300 ERR UNKNOWN COMMAND");
    }
    return true;
}

void OutputModule::receiveSettings(const std::string& accepted, const std::string& applied, bool isSet) {
    channel_.sendLine(accepted);
    const auto lines = channel_.readBlock();
    if (!lines) return;
    bool valid = true;
    for (const auto& line : *lines) {
        if (isSet) valid = settings_.apply(line) && valid;
    }
    channel_.sendLine(valid ? applied : "303 ERROR INVALID PARAMETER OR VALUE");
}

void OutputModule::listVoices() {
    const auto voices = catalog_.refresh();
    if (voices.empty()) {
        channel_.sendLine("304 ERROR CANT LIST VOICES");
        return;
    }
    std::vector<std::string> lines;
    for (const auto& voice : voices) lines.push_back("200-" + voice.name + "\t" + voice.language + "\tnone");
    lines.push_back("200 OK VOICE LIST SENT");
    channel_.send(lines);
}

void OutputModule::receiveMessage(const MessageMaker& make) {
    channel_.sendLine("202 OK RECEIVING MESSAGE");
    const auto lines = channel_.readBlock();
    if (!lines) return;
    std::string received;
    for (const auto& line : *lines) received += (received.empty() ? "" : "\n") + line;
    Message next = make(received);
    channel_.sendLine("200 OK SPEAKING");
    player_.play(std::move(next));
}

Message OutputModule::message(const std::string& text, bool isSsml) {
    Message next;
    next.utterance.text = text;
    next.utterance.isSsml = isSsml;
    next.utterance.rate = platformRate(settings_.rate);
    next.utterance.pitchMultiplier = pitchMultiplier(settings_.pitch);
    next.gain = volumeGain(settings_.volume);
    if (const auto voice = catalog_.choose(settings_)) {
        next.utterance.voiceIdentifier = voice->voice.identifier;
        next.utterance.voiceProvider = voice->voice.provider;
        std::cerr << "sd_velmora: voice " << voice->name << " (" << voice->language << ")" << std::endl;
    } else {
        std::cerr << "sd_velmora: no speech provider offers a voice" << std::endl;
    }
    return next;
}

}  // namespace velmora::speechd
