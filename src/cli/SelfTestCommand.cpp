// selftest: the application's speech self test without its window.
#include <memory>
#include <string>
#include <vector>

#include "cli/CommandError.h"
#include "cli/Commands.h"
#include "selftest/SelfTest.h"
#include "store/VoiceStore.h"

namespace velmora::cli {
namespace {

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

void runSelfTest() {
    // As at the application's start, so that the suite sees packs whose dictionaries are complete.
    VoiceStore::addMissingDictionaries();
    auto services = SelfTestServices::system();
    FailureCount failures(services.print);
    services.print = failures.sink();
    SelfTest::run(services);
    failures.check();
}

}  // namespace

void addSelfTestCommand(CLI::App& app) {
    auto* command = app.add_subcommand("selftest", "Run the speech self test");
    command->footer(
        "Prints one line per check, each beginning SELFTEST, as the application does with -selftest:\n"
        "the extension's voices per release, a control render with the en-US voice of another speech\n"
        "provider, one render of every voice (PASS above 0.3 s of audio and a peak above 0.05), then,\n"
        "with the iOS 4 Samantha voice, latency, rate, SSML timing and pronunciation-rule diagnostics,\n"
        "and two audio files in the temporary folder.\n"
        "\n"
        "Exit status 0 when no line says FAIL, 1 otherwise.");
    command->callback(runSelfTest);
}

}  // namespace velmora::cli
