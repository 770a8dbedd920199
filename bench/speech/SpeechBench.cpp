// Renders a short sentence's worth of audio many times through the speech client and the test
// provider on the session bus, and compares what the caller sees with what the provider
// measured of its own work: the time to the first audible sample and the whole render time.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <optional>
#include <vector>

#include "speech/ProviderControl.h"
#include "speech/Synthesizer.h"
#include "speech/TestProviderVoices.h"

namespace {

using Clock = std::chrono::steady_clock;
using velmora::PcmBuffer;

// Two seconds of audio at 22050 Hz: about a short sentence.
constexpr int sentenceFrames = 44100;
constexpr int warmUps = 3;
constexpr int runs = 40;
const std::string pacedVoice = "com.tarvenholt.Velmora.voice.ios7.en-AU.Paced";

struct Sample {
    double clientFirstMs = 0;
    double clientTotalMs = 0;
    double providerFirstMs = 0;
    double providerTotalMs = 0;
};

// One render, timed from write() to the first sample above 0.01 and to the end buffer.
std::optional<Sample> renderOnce(velmora::Synthesizer& synthesizer) {
    std::mutex mutex;
    std::condition_variable ended;
    std::optional<Clock::time_point> first;
    std::optional<Clock::time_point> end;
    velmora::Utterance utterance;
    utterance.text = std::string("tone ").append(std::to_string(sentenceFrames));
    utterance.voiceIdentifier = pacedVoice;
    const auto start = Clock::now();
    synthesizer.write(utterance, [&](const PcmBuffer& buffer) {
        const auto now = Clock::now();
        std::lock_guard lock(mutex);
        if (buffer.frameCount() == 0) {
            end = now;
            ended.notify_all();
            return;
        }
        if (!first && std::any_of(buffer.samples.begin(), buffer.samples.end(),
                                  [](float s) { return std::fabs(s) > 0.01f; })) {
            first = now;
        }
    });
    std::unique_lock lock(mutex);
    if (!ended.wait_for(lock, std::chrono::seconds(20), [&] { return end.has_value(); }) || !first)
        return std::nullopt;
    const auto timing = velmora::test::lastTiming(velmora::test::tonesProvider);
    auto ms = [&](Clock::time_point t) {
        return std::chrono::duration<double, std::milli>(t - start).count();
    };
    return Sample{ms(*first), ms(*end), timing.firstAudioMicros / 1000.0, timing.totalMicros / 1000.0};
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void report(const char* what, std::vector<double> client, std::vector<double> provider) {
    std::vector<double> added;
    for (std::size_t i = 0; i < client.size(); ++i) added.push_back(client[i] - provider[i]);
    const double clientMedian = median(client);
    const double providerMedian = median(provider);
    std::printf(
        "%-22s client %8.3f ms   provider %8.3f ms   added %6.3f ms (median of differences; %.2f%%)\n", what,
        clientMedian, providerMedian, median(added), 100.0 * median(added) / providerMedian);
}

}  // namespace

int main() {
    auto system = std::make_shared<velmora::SpeechSystem>();
    if (!system->providerVoice(pacedVoice)) {
        std::fprintf(stderr, "speech_bench: the test provider is not on the session bus\n");
        return 1;
    }
    velmora::Synthesizer synthesizer(system, velmora::openAudioOutput);
    std::vector<double> clientFirst, clientTotal, providerFirst, providerTotal;
    for (int run = 0; run < warmUps + runs; ++run) {
        const auto sample = renderOnce(synthesizer);
        if (!sample) {
            std::fprintf(stderr, "speech_bench: a render did not complete\n");
            return 1;
        }
        if (run < warmUps) continue;
        clientFirst.push_back(sample->clientFirstMs);
        clientTotal.push_back(sample->clientTotalMs);
        providerFirst.push_back(sample->providerFirstMs);
        providerTotal.push_back(sample->providerTotalMs);
    }
    std::printf("%d renders of %d frames (%.2f s of audio) with the test provider's paced voice\n", runs,
                sentenceFrames, sentenceFrames / 22050.0);
    report("first audible sample", clientFirst, providerFirst);
    report("whole render", clientTotal, providerTotal);
    return 0;
}
