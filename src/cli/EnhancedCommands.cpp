// catalog, install: the vendor's enhanced voices from the command line.
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <stop_token>
#include <thread>

#include "cli/CommandError.h"
#include "cli/Commands.h"
#include "cli/JsonOutput.h"
#include "cli/VoiceIdArgument.h"
#include "enhanced/DisplayOrder.h"
#include "enhanced/EnhancedVoiceCatalog.h"
#include "enhanced/EnhancedVoiceManager.h"
#include "store/ByteCount.h"
#include "store/VoiceId.h"
#include "store/VoiceStore.h"

namespace velmora::cli {
namespace {

// Turns Ctrl-C (SIGINT) and SIGTERM into a stop request while it lives, so that a transfer
// ends cleanly and the install removes its staging folder.
class InterruptWatch {
public:
    InterruptWatch() {
        sigemptyset(&signals_);
        sigaddset(&signals_, SIGINT);
        sigaddset(&signals_, SIGTERM);
        pthread_sigmask(SIG_BLOCK, &signals_, &previous_);
        watcher_ = std::jthread([this](std::stop_token finished) {
            const timespec interval{0, 100'000'000};
            while (!finished.stop_requested()) {
                if (sigtimedwait(&signals_, nullptr, &interval) > 0) {
                    interrupted_.request_stop();
                    return;
                }
            }
        });
    }
    ~InterruptWatch() {
        watcher_.request_stop();
        watcher_.join();
        pthread_sigmask(SIG_SETMASK, &previous_, nullptr);
    }
    InterruptWatch(const InterruptWatch&) = delete;
    InterruptWatch& operator=(const InterruptWatch&) = delete;

    std::stop_token token() const { return interrupted_.get_token(); }

private:
    sigset_t signals_{};
    sigset_t previous_{};
    std::stop_source interrupted_;
    std::jthread watcher_;
};

// One voice's install as the user follows it: a bar redrawn in place on a terminal, plain
// lines (every tenth) otherwise.
class InstallDisplay {
public:
    explicit InstallDisplay(std::string id) : id_(std::move(id)), terminal_(::isatty(STDOUT_FILENO) == 1) {
        if (!terminal_) std::cout << id_ << ": downloading" << std::endl;
    }

    void progress(double fraction) {
        const int percent = static_cast<int>(fraction * 100);
        if (percent == shown_) return;
        shown_ = percent;
        if (terminal_) {
            constexpr int width = 30;
            const int filled = percent * width / 100;
            std::cout << '\r' << id_ << "  [" << std::string(static_cast<std::size_t>(filled), '#')
                      << std::string(static_cast<std::size_t>(width - filled), '-') << "] " << percent << "%"
                      << std::flush;
        } else if (percent % 10 == 0) {
            std::cout << id_ << ": " << percent << "%" << std::endl;
        }
    }
    void line(const std::string& text) {
        if (terminal_) {
            std::cout << '\r' << id_ << "  " << text << "\x1b[K" << std::endl;
        } else {
            std::cout << id_ << ": " << text << std::endl;
        }
    }
    // Ends a bar that a failure interrupted.
    void interrupt() {
        if (terminal_ && shown_ >= 0) std::cout << std::endl;
    }

private:
    std::string id_;
    bool terminal_;
    int shown_ = -1;
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

void printCatalog(bool asJson) {
    const InterruptWatch interrupt;
    const auto voices = EnhancedVoiceCatalog::fetch(interrupt.token());
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
    const auto catalog = EnhancedVoiceCatalog::fetch(stop);
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
// says so at once, and stops the voices after this one.
void installOne(const EnhancedVoice& voice, std::stop_token stop) {
    InstallDisplay display(voice.id());
    std::optional<std::stop_callback<std::function<void()>>> finishing;
    const auto unpacking = [&] {
        display.line("unpacking");
        finishing.emplace(stop, [id = voice.id()] {
            std::cerr << "velmora-cli: " << id << ": the install is finishing and cannot be stopped now."
                      << std::endl;
        });
    };
    try {
        const std::int64_t size = EnhancedVoiceManager::download(
            voice, [&display](double fraction) { display.progress(fraction); }, unpacking, stop);
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

}  // namespace

void addEnhancedCommands(CLI::App& app) {
    auto* catalog =
        app.add_subcommand("catalog", "List the enhanced voices of Apple's catalog, installed or not");
    auto catalogAsJson = std::make_shared<bool>(false);
    catalog->add_flag("--json", *catalogAsJson, "Print the list as JSON");
    catalog->callback([catalogAsJson] { printCatalog(*catalogAsJson); });

    auto* install = app.add_subcommand("install", "Download, verify and install enhanced voices");
    auto ids = std::make_shared<std::vector<std::string>>();
    install->add_option("voices", *ids, "The voices, as RELEASE/LOCALE (for example ios6/en-US)")->required();
    install->callback([ids] { installVoices(*ids); });
}

}  // namespace velmora::cli
