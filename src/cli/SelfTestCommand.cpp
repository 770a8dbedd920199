// selftest: the application's self tests without its window.
#include <memory>
#include <string>
#include <vector>

#include "cli/CommandError.h"
#include "cli/Commands.h"
#include "selftest/EnhancedSelfTest.h"
#include "selftest/SelfTest.h"
#include "store/VoiceStore.h"

namespace velmora::cli {
namespace {

struct SelfTestOptions {
    bool enhanced = false;
    std::string voice;
    bool remove = false;
    bool removeAll = false;

    // The application's own options of the enhanced self test.
    std::vector<std::string> enhancedArguments() const {
        std::vector<std::string> arguments;
        if (!voice.empty()) arguments.insert(arguments.end(), {"-enhanced-voice", voice});
        if (remove) arguments.emplace_back("-enhanced-remove");
        if (removeAll) arguments.emplace_back("-enhanced-remove-all");
        return arguments;
    }
};

// The lines go to standard output as the suite prints them; the ones that say FAIL are counted.
class FailureCount {
public:
    explicit FailureCount(LineSink out) : out_(std::move(out)) {}
    LineSink sink() {
        return [this](const std::string& line) {
            if (saysFail(line)) ++failures_;
            out_(line);
        };
    }
    void check() const {
        if (failures_ == 1) throw CommandError("1 line of the self test says FAIL.");
        if (failures_ > 1)
            throw CommandError(std::to_string(failures_) + " lines of the self test say FAIL.");
    }

private:
    LineSink out_;
    int failures_ = 0;
};

void runSelfTest(const SelfTestOptions& options) {
    // As at the application's start, so that the suites see packs whose dictionaries are complete.
    VoiceStore::addMissingDictionaries();
    if (options.enhanced) {
        auto services = EnhancedSelfTestServices::system();
        FailureCount failures(services.speech.print);
        services.speech.print = failures.sink();
        EnhancedSelfTest::run(options.enhancedArguments(), services);
        failures.check();
    } else {
        auto services = SelfTestServices::system();
        FailureCount failures(services.print);
        services.print = failures.sink();
        SelfTest::run(services);
        failures.check();
    }
}

}  // namespace

void addSelfTestCommand(CLI::App& app) {
    auto* command =
        app.add_subcommand("selftest", "Run the speech self test, or with --enhanced the enhanced one");
    auto options = std::make_shared<SelfTestOptions>();
    auto* enhanced =
        command->add_flag("--enhanced", options->enhanced,
                          "Run the enhanced self test instead: install a voice from Apple's catalog "
                          "and check the extension's promises about packs");
    command
        ->add_option("--voice", options->voice, "With --enhanced: the voice to work on, such as ios6/en-US")
        ->type_name("RELEASE/LOCALE")
        ->needs(enhanced);
    auto* remove = command->add_flag("--remove", options->remove,
                                     "With --enhanced: only remove the voice's installed pack and verify");
    command
        ->add_flag("--remove-all", options->removeAll,
                   "With --enhanced: only remove every installed pack and verify")
        ->needs(enhanced)
        ->excludes(remove);
    remove->needs(enhanced);
    command->footer(
        "Prints one line per check, as the application does with -selftest and -selftest-enhanced.\n"
        "\n"
        "The speech self test (lines beginning SELFTEST): the extension's voices per release, a control\n"
        "render with the en-US voice of another speech provider, one render of every voice (PASS above\n"
        "0.3 s of audio and a peak above 0.05), then, with the iOS 4 Samantha voice, latency, rate, SSML\n"
        "timing and pronunciation-rule diagnostics, and two audio files in the temporary folder.\n"
        "\n"
        "The enhanced self test (lines beginning ENHANCED): the shared container and its packs'\n"
        "dictionaries, the catalog, then the catalog voice with the smallest download (or --voice):\n"
        "installed unless it is, found on disk and in the system's voices, then spoken with the pack set\n"
        "aside, unreadable and in place, to check that the voice speaks from the pack at once, falls back\n"
        "to its compact data when the pack cannot be read, and takes pitch as its release allows. The\n"
        "pack is put back afterwards, also on Ctrl-C, and the voice stays installed. With --remove or\n"
        "--remove-all the run stops after choosing the voice and removes packs instead.\n"
        "\n"
        "Exit status 0 when no line says FAIL, 1 otherwise.");
    command->callback([options] { runSelfTest(*options); });
}

}  // namespace velmora::cli
