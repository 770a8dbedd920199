#include "speechd/MessageText.h"

#include <map>
#include <string_view>

#include "speech/Ssml.h"

namespace velmora::speechd {
namespace {

std::string escaped(std::string_view text) {
    std::string out;
    for (char c : text) {
        switch (c) {
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '&':
                out += "&amp;";
                break;
            case '"':
                out += "&quot;";
                break;
            default:
                out += c;
        }
    }
    return out;
}

MessageText spelled(std::string_view character) {
    return {"<speak><say-as interpret-as=\"characters\">" + escaped(character) + "</say-as></speak>", true};
}

// Key and modifier names of speech-dispatcher's KEY command that are not words.
const std::map<std::string, std::string, std::less<>>& keyWords() {
    static const std::map<std::string, std::string, std::less<>> words{
        {"ctrl", "control"}, {"kp", "keypad"},  {"pgup", "page up"}, {"pgdn", "page down"},
        {"del", "delete"},   {"ins", "insert"}, {"esc", "escape"},   {"bs", "backspace"}};
    return words;
}

std::string keyPart(std::string_view part) {
    std::string words;
    std::size_t start = 0;
    while (start <= part.size()) {
        const std::size_t dash = std::min(part.find('-', start), part.size());
        const std::string_view word = part.substr(start, dash - start);
        const auto known = keyWords().find(word);
        if (!word.empty())
            words +=
                (words.empty() ? "" : " ") + (known != keyWords().end() ? known->second : std::string(word));
        start = dash + 1;
    }
    return words;
}

}  // namespace

MessageText spokenMessage(const std::string& received) {
    if (isAcceptableSsml(received)) return {received, true};
    return {received, false};
}

MessageText spokenCharacter(const std::string& character) {
    if (character == " ") return {"space", false};
    return spelled(character);
}

MessageText spokenKey(const std::string& key) {
    if (key == "_" || key == "underscore") return {"underscore", false};
    if (key.size() == 1) return spokenCharacter(key);
    std::string modifiers;
    std::size_t start = 0;
    for (std::size_t end = key.find('_'); end != std::string::npos; end = key.find('_', start)) {
        modifiers += keyPart(std::string_view(key).substr(start, end - start)) + " ";
        start = end + 1;
    }
    const std::string_view last = std::string_view(key).substr(start);
    if (last.size() == 1) return {"<speak>" + escaped(modifiers) + spelled(last).text.substr(7), true};
    return {modifiers + keyPart(last), false};
}

MessageText spokenIcon(const std::string& icon) { return {keyPart(icon), false}; }

}  // namespace velmora::speechd
