#include "speech/UtteranceRender.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <optional>

#include "speech/PipeReader.h"
#include "speech/ProviderScale.h"
#include "speech/Ssml.h"
#include "speech/StreamParser.h"

namespace velmora {
namespace {

constexpr std::size_t readSize = 16 * 1024;

RenderOutcome failure(std::string problem) { return {RenderOutcome::End::failed, std::move(problem)}; }

std::optional<ProviderVoice> chosenVoice(SpeechSystem& system, const Utterance& utterance) {
    if (utterance.voiceIdentifier)
        return system.providerVoice(*utterance.voiceIdentifier, utterance.voiceProvider);
    std::optional<SpeechVoice> voice = system.voiceForLanguage("");
    if (!voice) {
        const auto all = system.voices();
        if (all.empty()) return std::nullopt;
        voice = all.front();
    }
    return system.providerVoice(voice->identifier, voice->provider);
}

SynthesisRequest requestFor(const Utterance& utterance, const ProviderVoice& voice) {
    return {voice.voice.provider,
            utterance.text,
            voice.voice.identifier,
            providerPitch(utterance.pitchMultiplier),
            providerRate(utterance.rate),
            utterance.isSsml,
            voice.languages.empty() ? std::string{} : voice.languages.front()};
}

// Reads the stream to its end, handing decoded frames to `sink`; a clean end still has to be
// confirmed by the call's reply.
RenderOutcome readStream(PipeReader& reader, StreamParser& parser,
                         const std::function<void(const PcmBuffer&)>& sink,
                         const std::function<void(std::vector<StreamEvent>)>& events) {
    std::array<std::byte, readSize> bytes;
    while (true) {
        std::size_t count = 0;
        switch (reader.read(bytes, count)) {
            case PipeReader::Event::data: {
                const PcmBuffer buffer = parser.feed(std::span(bytes).first(count));
                if (events) {
                    if (auto read = parser.takeEvents(); !read.empty()) events(std::move(read));
                }
                if (parser.status() == StreamParser::Status::malformed) {
                    if (buffer.frameCount() > 0) sink(buffer);
                    return failure("The provider sent data that is not audio: " + parser.problem() + ".");
                }
                if (buffer.frameCount() > 0) sink(buffer);
                break;
            }
            case PipeReader::Event::endOfFile:
                if (parser.finish() != StreamParser::Status::complete) {
                    return failure("The provider's audio stream broke off: " + parser.problem() + ".");
                }
                return {};
            case PipeReader::Event::stalled:
                return failure("The provider stopped sending audio.");
            case PipeReader::Event::stopped:
                return {RenderOutcome::End::cancelled, {}};
            case PipeReader::Event::failed:
                return failure("The provider's audio stream could not be read.");
        }
    }
}

}  // namespace

RenderOutcome renderUtterance(SpeechSystem& system, const Utterance& utterance, const RenderLimits& limits,
                              std::stop_token stop, const std::function<void(const PcmBuffer&)>& sink,
                              const std::function<void(std::vector<StreamEvent>)>& events) {
    if (utterance.isSsml && !isAcceptableSsml(utterance.text)) {
        return failure("The text is not SSML: it must be well-formed XML with a speak element at its root.");
    }
    if (!system.bus()) return failure("There is no session bus, so there are no speech providers.");
    const std::optional<ProviderVoice> voice = chosenVoice(system, utterance);
    if (!voice) return failure("No speech provider offers the voice.");
    const FormatReading format = StreamFormat::read(voice->outputFormat);
    if (!format.format) return failure(format.problem);

    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) return failure("No pipe could be made for the provider's audio.");
    UniqueFd readEnd(ends[0]);
    UniqueFd writeEnd(ends[1]);
    const auto reply =
        system.bus()->synthesize(requestFor(utterance, *voice), writeEnd.get(), limits.callTimeout);
    writeEnd.reset();  // the provider now holds the only write end: its close ends the stream

    PipeReader reader(std::move(readEnd), stop, limits.stallTimeout);
    StreamParser parser(*format.format);
    RenderOutcome outcome = readStream(reader, parser, sink, events);
    if (outcome.end != RenderOutcome::End::finished) return outcome;
    if (!reply->wait(limits.stallTimeout, stop)) {
        if (stop.stop_requested()) return {RenderOutcome::End::cancelled, {}};
        return failure("The provider did not answer the request.");
    }
    if (auto error = reply->error()) return failure("The provider refused the request: " + *error);
    return outcome;
}

}  // namespace velmora
