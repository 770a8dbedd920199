#pragma once

#include <string>
#include <string_view>

namespace velmora {

// Every text of the main window: its fixed labels and the texts it composes for a voice.
struct MainWindowTexts {
    static constexpr std::string_view title = "Velmora";
    static constexpr std::string_view enhancedVoicesButton = "Enhanced voices";
    static constexpr std::string_view refreshVoicesButton = "Refresh voices";
    static constexpr std::string_view placeholder = "Type something to speak, or choose a voice for a sample";
    static constexpr std::string_view rateLabel = "Rate";
    static constexpr std::string_view rateAccessibilityLabel = "Speech rate";
    static constexpr std::string_view stopButton = "Stop";
    static constexpr std::string_view emptyTitle = "Voices not registered yet";
    static constexpr std::string_view emptyExplanation =
        "The system hasn't picked up the Velmora extension yet. Tap Refresh; if the list stays empty, "
        "relaunch the app.";
    static constexpr std::string_view refreshButton = "Refresh";
    // The footer of the last section only.
    static constexpr std::string_view systemWideHint =
        "To use a voice system-wide, choose it in System Settings \u203a Accessibility \u203a Spoken "
        "Content \u203a System Voice, or in VoiceOver Utility \u203a Speech.";

    // The voice's name without a trailing parenthesised part: "Samantha (iOS 5)" gives
    // "Samantha"; a name that does not end in ")" or holds no "(" stays whole.
    static std::string shortName(std::string_view name);
    // The language's sample greeting with the short name put in for every "%@".
    static std::string greeting(std::string_view language, std::string_view shortName);
    // What a tap on a voice row speaks: the typed text when there is any (one space counts),
    // else the greeting.
    static std::string spokenText(std::string_view typed, std::string_view language,
                                  std::string_view shortName);
    // A voice row as a screen reader announces it: "Samantha, English (United States)".
    static std::string voiceAccessibleName(std::string_view shortName, std::string_view languageName);
};

}  // namespace velmora
