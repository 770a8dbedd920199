#include "presenters/EnhancedTexts.h"

#include "store/ByteCount.h"

namespace velmora {
namespace {

std::string joined(std::string_view name, std::string_view language) {
    return std::string(name) + ", " + std::string(language);
}

}  // namespace

std::string EnhancedTexts::size(std::int64_t bytes) { return formatByteCount(bytes); }

int EnhancedTexts::percent(double fraction) {
    if (!(fraction > 0)) return 0;  // also NaN
    if (fraction >= 1) return 100;
    return static_cast<int>(fraction * 100);
}

std::string EnhancedTexts::rowSubtitle(std::string_view language, std::string_view detail) {
    return std::string(language) + " \u2014 " + std::string(detail);
}

std::string EnhancedTexts::availableDetail(std::int64_t downloadSize) {
    return size(downloadSize) + " download";
}

std::string EnhancedTexts::downloadingDetail(double fraction, std::int64_t downloadSize) {
    return "Downloading " + std::to_string(percent(fraction)) + "% of " + size(downloadSize);
}

std::string EnhancedTexts::installedDetail(std::int64_t bytes) { return "Installed, " + size(bytes); }

std::string EnhancedTexts::waitingDetail(std::int64_t downloadSize) {
    return "Waiting to download " + size(downloadSize);
}

std::string EnhancedTexts::downloadLabel(std::string_view name, std::string_view language,
                                         std::int64_t downloadSize) {
    return "Download " + joined(name, language) + ", " + size(downloadSize);
}

std::string EnhancedTexts::stopDownloadingLabel(std::string_view name, std::string_view language,
                                                double fraction, std::int64_t downloadSize) {
    return "Stop downloading " + joined(name, language) + ", " + std::to_string(percent(fraction)) +
           " percent of " + size(downloadSize);
}

std::string EnhancedTexts::unpackingLabel(std::string_view name, std::string_view language) {
    return "Unpacking " + joined(name, language);
}

std::string EnhancedTexts::removeLabel(std::string_view name, std::string_view language, std::int64_t bytes) {
    return "Remove " + joined(name, language) + ", " + size(bytes);
}

std::string EnhancedTexts::stopWaitingLabel(std::string_view name, std::string_view language,
                                            std::int64_t downloadSize) {
    return "Stop waiting to download " + joined(name, language) + ", " + size(downloadSize);
}

std::string EnhancedTexts::retryLabel(std::string_view name, std::string_view language,
                                      std::int64_t downloadSize, std::string_view message) {
    return downloadLabel(name, language, downloadSize) + ". Last attempt failed: " + std::string(message);
}

std::string EnhancedTexts::deleteAllAccessibleName(std::int64_t installedCount, std::int64_t installedTotal) {
    return "Delete all voices, " + std::to_string(installedCount) +
           (installedCount == 1 ? " voice, " : " voices, ") + size(installedTotal);
}

std::string EnhancedTexts::removeDialogMessage(std::string_view name, std::string_view releaseLabel) {
    const std::string voice(name);
    return "This deletes the enhanced " + voice + " for " + std::string(releaseLabel) + ". The compact " +
           voice + " stays installed and takes over again straight away.";
}

std::string EnhancedTexts::removeVoiceButton(std::string_view name) { return "Remove " + std::string(name); }

std::string EnhancedTexts::deleteAllMessage(std::int64_t installedCount, std::int64_t installedTotal) {
    return "This deletes every enhanced voice you have downloaded \u2014 " + std::to_string(installedCount) +
           " in all, " + size(installedTotal) +
           ". Each goes back to its compact voice, which stays installed, and you can download any of them "
           "again.";
}

}  // namespace velmora
