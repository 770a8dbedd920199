// render: one utterance rendered to buffers and measured, as the self tests do.
#include <cinttypes>
#include <cstdio>
#include <filesystem>
#include <memory>

#include "cli/CommandError.h"
#include "cli/Commands.h"
#include "selftest/SelfTest.h"
#include "speech/SpeechSystem.h"
#include "speech/StreamFormat.h"
#include "speech/Synthesizer.h"

namespace velmora::cli {
namespace {

struct RenderOptions {
    std::string text;
    std::string voice;
    float pitch = 1.0f;
    bool ssml = false;
    std::string dump;
};

void printResult(const RenderResult& result) {
    std::printf("seconds: %.3f\npeak: %.4f\nlatency: %.4f\nsignature: %" PRIu64 "\n", result.seconds,
                static_cast<double>(result.peak), result.latency, result.signature);
}

void render(const RenderOptions& options) {
    auto system = SpeechSystem::shared();
    const auto voice = system->providerVoice(options.voice);
    if (!voice) throw CommandError("No speech provider offers the voice \"" + options.voice + "\".");
    if (auto format = StreamFormat::read(voice->outputFormat); !format.format)
        throw CommandError(format.problem);
    Synthesizer synthesizer(system, openAudioOutput);
    if (options.ssml) {
        printResult(SelfTest::renderSsml(synthesizer, options.text, voice->voice));
        return;
    }
    std::optional<std::filesystem::path> dump;
    if (!options.dump.empty()) dump = options.dump;
    printResult(SelfTest::render(synthesizer, options.text, voice->voice, SpeechRate::defaultRate,
                                 options.pitch, dump));
}

}  // namespace

void addRenderCommand(CLI::App& app) {
    auto* command = app.add_subcommand(
        "render", "Render a text to audio buffers and print its seconds, peak, latency and signature");
    auto options = std::make_shared<RenderOptions>();
    command->add_option("--voice", options->voice, "The voice's identifier")->required();
    auto* pitch =
        command->add_option("--pitch", options->pitch, "The pitch multiplier (1 is the voice's own)");
    auto* dump =
        command->add_option("--dump", options->dump, "Also write the audio to this Core Audio Format file");
    command->add_flag("--ssml", options->ssml, "The text is SSML with a <speak> root")
        ->excludes(pitch)
        ->excludes(dump);
    command->add_option("text", options->text, "What to say")->required();
    command->callback([options] { render(*options); });
}

}  // namespace velmora::cli
