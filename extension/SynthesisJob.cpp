#include "SynthesisJob.h"

#include <fcntl.h>

#include <cstddef>
#include <cstdint>
#include <exception>
#include <vector>

#include "EspeakEngine.h"
#include "PipeWriter.h"
#include "SpeechData.h"
#include "VoiceParameters.h"

namespace velmora::provider {
namespace {

std::vector<std::byte> littleEndian(std::span<const std::int16_t> samples) {
    std::vector<std::byte> bytes;
    bytes.reserve(samples.size() * 2);
    for (const std::int16_t sample : samples) {
        const auto bits = static_cast<std::uint16_t>(sample);
        bytes.push_back(static_cast<std::byte>(bits & 0xFF));
        bytes.push_back(static_cast<std::byte>(bits >> 8));
    }
    return bytes;
}

// A client that stops reading must not hold the writer forever: writes wait with a time limit.
void makeNonBlocking(int fd) {
    const int flags = ::fcntl(fd, F_GETFL);
    if (flags >= 0) ::fcntl(fd, F_SETFL, flags | O_NONBLOCK);
}

}  // namespace

bool speakInto(int fd, const SynthesisRequest& request) {
    try {
        const SpeechData data = SpeechData::forUtterance(request.voice, request.pitch);
        const std::string text =
            request.ssml ? data.rules.applyToSsml(request.text) : data.rules.applyToText(request.text);
        const VoiceParameters voice =
            VoiceParameters::derive(data.fingerprint, data.gender, request.rate, request.pitch);
        makeNonBlocking(fd);
        PipeWriter writer(fd);
        return EspeakEngine::synthesize(
            text, request.ssml, EspeakEngine::languageFor(request.voice.locale), voice,
            [&](std::span<const std::int16_t> samples) { return writer.write(littleEndian(samples)); });
    } catch (const std::exception&) {
        // Unreadable compact data or no memory: the stream ends without audio.
        return false;
    }
}

}  // namespace velmora::provider
