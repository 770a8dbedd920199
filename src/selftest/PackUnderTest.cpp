#include "selftest/PackUnderTest.h"

#include <signal.h>
#include <stdio.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>

#include "selftest/EnhancedSelfTest.h"
#include "store/VoiceStore.h"

namespace velmora {
namespace {

constexpr std::array<int, 3> endingSignals{SIGINT, SIGTERM, SIGHUP};
constexpr mode_t unknownHeaderMode = 0644;

std::atomic<PackUnderTest*> active = nullptr;
std::array<struct sigaction, endingSignals.size()> previousActions{};
std::array<bool, endingSignals.size()> handled{};

// Puts the container back, then lets the signal do what it would have done without us:
// the previous disposition is reinstated and the signal raised again, to be delivered as soon as
// this handler returns.
void undoThenResignal(int signal) {
    const int interruptedErrno = errno;
    if (PackUnderTest* pack = active.load()) pack->undoInSignalHandler();
    for (std::size_t i = 0; i < endingSignals.size(); ++i) {
        if (endingSignals[i] == signal) ::sigaction(signal, &previousActions[i], nullptr);
    }
    ::raise(signal);
    errno = interruptedErrno;
}

void installHandlers() {
    struct sigaction action {};
    action.sa_handler = undoThenResignal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (int signal : endingSignals) sigaddset(&action.sa_mask, signal);
    for (std::size_t i = 0; i < endingSignals.size(); ++i) {
        struct sigaction previous {};
        ::sigaction(endingSignals[i], nullptr, &previous);
        // A signal that is ignored ends nothing, so there is nothing to undo for it.
        handled[i] = previous.sa_handler != SIG_IGN;
        if (handled[i]) ::sigaction(endingSignals[i], &action, &previousActions[i]);
    }
}

void removeHandlers() {
    for (std::size_t i = 0; i < endingSignals.size(); ++i) {
        if (handled[i]) ::sigaction(endingSignals[i], &previousActions[i], nullptr);
    }
}

}  // namespace

PackUnderTest::PackUnderTest(const std::filesystem::path& pack)
    : pack_(pack.string()),
      aside_(pack.string() + "." + EnhancedSelfTest::asideExtension),
      header_((pack / VoiceStore::headerName).string()) {
    active.store(this);
    installHandlers();
}

PackUnderTest::~PackUnderTest() {
    putBack();
    restoreHeader();
    removeHandlers();
    active.store(nullptr);
}

bool PackUnderTest::setAside() {
    // Marked before the move: undoing a move that did not happen fails harmlessly.
    isAside_.store(true);
    if (EnhancedSelfTest::hide(pack_)) return true;
    isAside_.store(false);
    return false;
}

// The signal handler may run on another thread at the same time. Both put the pack back with the
// same single rename, so whichever comes second finds nothing to move and nothing is lost; the
// place is cleared first only when something else has taken it, which the handler leaves alone.
void PackUnderTest::putBack() {
    if (!isAside_.load()) return;
    std::error_code error;
    std::filesystem::rename(aside_, pack_, error);
    if (error && std::filesystem::exists(aside_, error)) EnhancedSelfTest::restore(aside_, pack_);
    isAside_.store(false);
}

void PackUnderTest::makeHeaderUnreadable() {
    struct stat info {};
    headerMode_.store(::stat(header_.c_str(), &info) == 0 ? info.st_mode & 07777 : unknownHeaderMode);
    isHeaderLocked_.store(true);
    ::chmod(header_.c_str(), 0);
}

void PackUnderTest::restoreHeader() {
    if (!isHeaderLocked_.load()) return;
    ::chmod(header_.c_str(), headerMode_.load());
    isHeaderLocked_.store(false);
}

void PackUnderTest::undoInSignalHandler() {
    if (isAside_.load()) ::rename(aside_.c_str(), pack_.c_str());
    if (isHeaderLocked_.load()) ::chmod(header_.c_str(), headerMode_.load());
}

}  // namespace velmora
