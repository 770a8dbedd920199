// catalog, install: the vendor's enhanced voices from the command line.
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <stop_token>

#include "cli/CommandError.h"
#include "cli/Commands.h"
#include "cli/InterruptWatch.h"
#include "cli/JsonOutput.h"
#include "cli/VoiceIdArgument.h"
#include "enhanced/DisplayOrder.h"
#include "enhanced/EnhancedVoiceCatalog.h"
#include "enhanced/LocalArchive.h"
#include "enhanced/PartialDownload.h"
#include "enhanced/VoiceInstaller.h"
#include "presenters/TransferTexts.h"
#include "store/ByteCount.h"
#include "store/VoiceId.h"
#include "store/VoiceStore.h"

namespace velmora::cli {
namespace {

// One voice's install as the user follows it: on a terminal a line redrawn in place with bytes
// done, rate and time left (a bar when the size is unknown), plain lines (every tenth) otherwise.
class InstallDisplay {
public:
    using Clock = std::chrono::steady_clock;

    InstallDisplay(std::string id, std::int64_t total)
        : id_(std::move(id)), total_(total), terminal_(::isatty(STDOUT_FILENO) == 1) {
        if (!terminal_) std::cout << id_ << ": downloading" << std::endl;
    }

    void progress(double fraction) {
        const int percent = static_cast<int>(fraction * 100);
        if (!terminal_) {
            if (percent != shown_ && percent % 10 == 0)
                std::cout << id_ << ": " << percent << "%" << std::endl;
            shown_ = percent;
            return;
        }
        const auto now = Clock::now();
        if (shown_ >= 0 && fraction < 1.0 && now - drawn_ < std::chrono::milliseconds(200)) return;
        drawn_ = now;
        shown_ = percent;
        std::cout << '\r' << id_ << "  " << (total_ > 0 ? bytesText(fraction, now) : bar(percent)) << "\x1b[K"
                  << std::flush;
    }
    void line(const std::string& text) {
        if (terminal_) {
            std::cout << '\r' << id_ << "  " << text << "\x1b[K" << std::endl;
        } else {
            std::cout << id_ << ": " << text << std::endl;
        }
    }
    // Ends a progress line that a failure interrupted.
    void interrupt() {
        if (terminal_ && shown_ >= 0) std::cout << std::endl;
    }

private:
    // The rate counts from the first report, so bytes a resumed download already held do not
    // inflate it.
    std::string bytesText(double fraction, Clock::time_point now) {
        const auto done = static_cast<std::int64_t>(fraction * static_cast<double>(total_));
        if (!first_) first_.emplace(done, now);
        const double seconds = std::chrono::duration<double>(now - first_->second).count();
        const double rate = seconds > 0.5 ? static_cast<double>(done - first_->first) / seconds : 0;
        return transferProgressText(done, total_, rate);
    }
    static std::string bar(int percent) {
        constexpr int width = 30;
        const int filled = percent * width / 100;
        return "[" + std::string(static_cast<std::size_t>(filled), '#') +
               std::string(static_cast<std::size_t>(width - filled), '-') + "] " + std::to_string(percent) +
               "%";
    }

    std::string id_;
    std::int64_t total_;
    bool terminal_;
    int shown_ = -1;
    Clock::time_point drawn_;
    std::optional<std::pair<std::int64_t, Clock::time_point>> first_;
};

std::string hex(const std::vector<std::byte>& bytes) {
    std::string text;
    char pair[3];
    for (std::byte value : bytes) {
        std::snprintf(pair, sizeof pair, "%02x", static_cast<unsigned>(value));
        text += pair;
    }
    return text;
}

const char* stateOf(const EnhancedVoice& voice) {
    return VoiceStore::isInstalled(voice.release, voice.locale) ? "installed" : "available";
}

nlohmann::json voiceJson(const EnhancedVoice& voice) {
    return {{"id", voice.id()},
            {"release", voice.release.name},
            {"label", voice.release.label},
            {"locale", voice.locale},
            {"name", displayName(voice)},
            {"language", languageName(voice.locale)},
            {"downloadSize", voice.downloadSize},
            {"installedSize", voice.installedSize},
            {"url", voice.url},
            {"sha1", hex(voice.digest)},
            {"masteredVersion", voice.masteredVersion},
            {"state", stateOf(voice)}};
}

// The catalog, after which partial downloads of voices it no longer lists (or a week old) go.
void printCatalog(bool asJson) {
    const InterruptWatch interrupt;
    const auto voices = fetchCatalogSweepingPartials(interrupt.token());
    if (asJson) {
        printJsonArray(voices, voiceJson);
        return;
    }
    if (voices.empty()) std::cout << "Apple's voice catalog lists no voices.\n";
    for (const auto& voice : voices) {
        std::cout << voice.id() << '\t' << displayName(voice) << '\t' << formatByteCount(voice.downloadSize)
                  << '\t' << stateOf(voice) << '\n';
    }
}

// The catalog's voice for each requested id, checked before anything is downloaded.
std::vector<EnhancedVoice> requestedVoices(const std::vector<std::string>& ids, std::stop_token stop) {
    for (const auto& id : ids) requireVoiceId(id, VoiceRelease::downloadable());
    const auto catalog = fetchCatalogSweepingPartials(stop);
    std::vector<EnhancedVoice> voices;
    for (const auto& id : ids) {
        auto found =
            std::ranges::find_if(catalog, [&id](const EnhancedVoice& voice) { return voice.id() == id; });
        if (found == catalog.end()) throw CommandError(id + " is not in Apple's voice catalog.");
        voices.push_back(*found);
    }
    return voices;
}

// Once the archive has matched its checksum the install runs to its end: Ctrl-C from then on
// says so at once, and stops the voices after this one. With `archive`, that file is installed
// instead of a download.
void installOne(const EnhancedVoice& voice, std::stop_token stop, const std::string& archive = {}) {
    InstallDisplay display(voice.id(), voice.downloadSize);
    std::optional<std::stop_callback<std::function<void()>>> finishing;
    const auto unpacking = [&] {
        display.line("unpacking");
        finishing.emplace(stop, [id = voice.id()] {
            std::cerr << "velmora-cli: " << id << ": the install is finishing and cannot be stopped now."
                      << std::endl;
        });
    };
    try {
        VoiceInstaller installer(
            voice, [&display](double fraction) { display.progress(fraction); }, unpacking, stop);
        const std::int64_t size = archive.empty() ? installer.run() : installer.installFrom(archive);
        display.line("installed, " + formatByteCount(size));
    } catch (const std::exception& error) {
        display.interrupt();
        throw CommandError(voice.id() + ": " + error.what());
    }
}

void installVoices(const std::vector<std::string>& ids) {
    const InterruptWatch interrupt;
    for (const auto& voice : requestedVoices(ids, interrupt.token())) installOne(voice, interrupt.token());
}

// An archive the user has is checked against the catalog's checksum, so the catalog must load.
void installArchive(const std::string& archive, const std::vector<std::string>& ids) {
    if (ids.size() != 1) throw CommandError("--from installs one voice: name one RELEASE/LOCALE.");
    requireVoiceId(ids.front(), VoiceRelease::downloadable());
    const InterruptWatch interrupt;
    std::vector<EnhancedVoice> catalog;
    std::string catalogError;
    try {
        catalog = fetchCatalogSweepingPartials(interrupt.token());
    } catch (const std::exception& error) {
        catalogError = error.what();
    }
    try {
        installOne(voiceForArchive(catalog, ids.front(), catalogError), interrupt.token(), archive);
    } catch (const ArchiveRefused& refused) {
        throw CommandError(refused.what());
    }
}

}  // namespace

void addEnhancedCommands(CLI::App& app) {
    auto* catalog =
        app.add_subcommand("catalog", "List the enhanced voices of Apple's catalog, installed or not");
    auto catalogAsJson = std::make_shared<bool>(false);
    catalog->add_flag("--json", *catalogAsJson, "Print the list as JSON");
    catalog->callback([catalogAsJson] { printCatalog(*catalogAsJson); });

    auto* install = app.add_subcommand("install", "Download, verify and install enhanced voices");
    auto ids = std::make_shared<std::vector<std::string>>();
    auto archive = std::make_shared<std::string>();
    install->add_option("voices", *ids, "The voices, as RELEASE/LOCALE (for example ios6/en-US)")->required();
    install->add_option("--from", *archive,
                        "Install this archive (already downloaded) instead of downloading it; it must match "
                        "the checksum in Apple's catalog");
    install->callback(
        [ids, archive] { archive->empty() ? installVoices(*ids) : installArchive(*archive, *ids); });
}

}  // namespace velmora::cli
