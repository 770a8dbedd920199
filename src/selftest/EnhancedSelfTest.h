#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "enhanced/EnhancedVoice.h"
#include "selftest/SelfTestServices.h"

namespace velmora {

// What the enhanced self test works with beyond the speech services: the vendor's catalog and
// the install pipeline. system() gives the real ones; tests put fakes in.
struct EnhancedSelfTestServices {
    SelfTestServices speech;
    // The catalog's voices in catalog order; throws with the user-facing text on failure.
    std::function<std::vector<EnhancedVoice>()> fetchCatalog;
    // Downloads, verifies and installs one voice; returns the pack's size in bytes, or throws
    // with the user-facing text.
    std::function<std::int64_t(const EnhancedVoice&)> install;

    // The real services; `stop` cancels a catalog fetch or a download in progress.
    static EnhancedSelfTestServices system(std::stop_token stop = {});
};

// The enhanced self test: the container, the catalog and one install end to end, then, by
// comparing renders while it moves the installed pack, that the extension speaks from a pack at
// once, falls back to its compact voice when the pack cannot be read, and takes pitch as its
// release allows. Or, with a removal option, a removal tool.
struct EnhancedSelfTest {
    // The extension appended to a set-aside pack's path: Voices/ios5/en-US.aside.
    static constexpr const char* asideExtension = "aside";

    // Runs the suite with the real services, the options read from `arguments` (the program's
    // arguments, any others ignored). Blocks for the length of the run; call it on a worker
    // thread. SIGINT, SIGTERM or SIGHUP during the run put back what it changed in the container
    // before the process ends.
    static void run(const std::vector<std::string>& arguments);
    static void run(const std::vector<std::string>& arguments, const EnhancedSelfTestServices& services);

    // Moves a file or folder to its path with ".aside" appended, removing whatever was there
    // first; returns where it went, or nothing when the move failed.
    static std::optional<std::filesystem::path> hide(const std::filesystem::path& item);
    // Puts a set-aside item back in place of whatever is at `item`. Failures are ignored.
    static void restore(const std::filesystem::path& aside, const std::filesystem::path& item);
    // Puts back every pack that a run ended by force (kill -9) left set aside, where the pack
    // itself is missing, and gives back permissions to a header left with none.
    static void recoverInterruptedRun();

    // Removes the installed pack of one voice and verifies that it is gone.
    static void remove(const EnhancedVoice& voice, const LineSink& print);
};

}  // namespace velmora
