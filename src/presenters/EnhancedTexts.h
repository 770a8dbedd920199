#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace velmora {

// Every text of the enhanced voices screen. `name` is a voice's NAME (its compact voice's name,
// else its language), `language` its LANGUAGE (the locale's display name); sizes are byte counts.
struct EnhancedTexts {
    static constexpr std::string_view title = "Enhanced Voices";
    static constexpr std::string_view introduction =
        "These are the enhanced voices Apple offered as downloads for iOS 5, 6 and 7. Each one is fetched "
        "from Apple's own servers and checked against the checksum published there. They are large, so "
        "pick the ones you want.";
    static constexpr std::string_view upgradeNote =
        "Downloading a voice upgrades it in place \u2014 \"Samantha (iOS 5)\" becomes the enhanced "
        "Samantha, at once, wherever you already use it. Removing it puts the compact voice back.";
    static constexpr std::string_view installedLabel = "Installed";
    static constexpr std::string_view deleteAllButton = "Delete all voices";
    static constexpr std::string_view tryAgainButton = "Try again";
    static constexpr std::string_view loading = "Reading Apple's voice catalog\u2026";
    static constexpr std::string_view downloadAllButton = "Download all";
    static constexpr std::string_view installFromFileButton = "Install from file\u2026";
    static constexpr std::string_view installFromFileDialogTitle = "Choose a voice archive";
    static constexpr std::string_view archiveFilter = "Voice archives (*.zip)";
    static constexpr std::string_view getButton = "Get";
    static constexpr std::string_view stopButton = "Stop";
    static constexpr std::string_view retryButton = "Retry";
    static constexpr std::string_view removeButton = "Remove";
    static constexpr std::string_view removeDialogTitle = "Remove this voice?";
    static constexpr std::string_view deleteAllDialogTitle = "Delete all voices?";
    static constexpr std::string_view cancelButton = "Cancel";
    static constexpr std::string_view unpackingDetail = "Unpacking\u2026";

    // SIZE: a byte count as a file size.
    static std::string size(std::int64_t bytes);
    // PERCENT: the fraction times 100 with the fraction dropped (0.999 gives 99), within 0 to 100.
    static int percent(double fraction);

    // The second line of a row: LANGUAGE + " — " + the state's detail.
    static std::string rowSubtitle(std::string_view language, std::string_view detail);
    // Details per state (a failed voice's detail is its message).
    static std::string availableDetail(std::int64_t downloadSize);
    static std::string downloadingDetail(double fraction, std::int64_t downloadSize);
    static std::string installedDetail(std::int64_t size);
    static std::string waitingDetail(std::int64_t downloadSize);

    // A row's accessibility label per state.
    static std::string downloadLabel(std::string_view name, std::string_view language,
                                     std::int64_t downloadSize);
    static std::string stopDownloadingLabel(std::string_view name, std::string_view language, double fraction,
                                            std::int64_t downloadSize);
    static std::string unpackingLabel(std::string_view name, std::string_view language);
    static std::string removeLabel(std::string_view name, std::string_view language, std::int64_t size);
    static std::string stopWaitingLabel(std::string_view name, std::string_view language,
                                        std::int64_t downloadSize);
    static std::string retryLabel(std::string_view name, std::string_view language, std::int64_t downloadSize,
                                  std::string_view message);

    // The "Delete all voices" button as a screen reader announces it.
    static std::string deleteAllAccessibleName(std::int64_t installedCount, std::int64_t installedTotal);
    // The "Remove this voice?" dialog's message and destructive button.
    static std::string removeDialogMessage(std::string_view name, std::string_view releaseLabel);
    static std::string removeVoiceButton(std::string_view name);
    // The "Delete all voices?" dialog's message.
    static std::string deleteAllMessage(std::int64_t installedCount, std::int64_t installedTotal);
};

}  // namespace velmora
