// A speech provider shared by the speech tests and the speech benchmark (which is why it lives
// here, beside the benchmark): speaks saw-tooth tones of exact lengths in the formats its
// voices name, and misbehaves on request. The text is a command and a frame count:
//   "tone N"    replies, then writes N frames from a thread of its own and closes the pipe
//   "die N"     writes N frames and exits before replying
//   "stall N"   replies, writes N frames and keeps the pipe open without writing more
//   "silent N"  writes N frames, closes the pipe and never replies
//   "garbage N" replies, writes N frames and then bytes that are not audio
//   "refuse"    replies with an error and writes nothing
// Anything else is spoken as "tone 1000". Usage: velmora-test-provider BUS-NAME VOICE-SET
#include <sdbus-c++/sdbus-c++.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <iostream>
#include <mutex>
#include <sstream>
#include <string_view>
#include <thread>

#include "speech/ProviderControl.h"
#include "speech/SpielBus.h"
#include "speech/StreamFormat.h"
#include "speech/TestProviderVoices.h"

namespace velmora::test {
namespace {

using Clock = std::chrono::steady_clock;
using VoiceRecord =
    sdbus::Struct<std::string, std::string, std::string, std::uint64_t, std::vector<std::string>>;
constexpr std::size_t framesPerBlock = 500;
constexpr std::size_t pacedFramesPerBlock = 220;          // 10 ms at 22050 Hz
constexpr std::chrono::microseconds pacedBlockWork{500};  // 20 times real time

std::uint64_t micros(Clock::time_point start) {
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start).count());
}

template <typename T>
void append(std::string& bytes, T value) {
    bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}

class ToneWriter {
public:
    ToneWriter(sdbus::UnixFd fd, StreamFormat format, bool paced)
        : fd_(std::move(fd)), format_(format), paced_(paced) {}

    // Writes frames [0, count) and notes when the first audio went out.
    void tone(std::size_t count, Clock::time_point start, ProviderTiming& timing) {
        if (format_.framed && !writeAll("0.01")) return;
        const std::size_t block = paced_ ? pacedFramesPerBlock : framesPerBlock;
        for (std::size_t first = 0; first < count; first += block) {
            if (paced_) std::this_thread::sleep_for(pacedBlockWork);
            if (!writeAll(blockBytes(first, std::min(block, count - first)))) return;
            if (first == 0) timing.firstAudioMicros = micros(start);
        }
    }

    // An unknown chunk type, or half a sample.
    void garbage() { writeAll(format_.framed ? std::string_view("\x07\x01\x02\x03") : "x"); }

private:
    // Frames [first, first + count); framed, after a word event named "w" and an audio chunk header.
    std::string blockBytes(std::size_t first, std::size_t count) const {
        std::string audio;
        for (std::size_t frame = first; frame < first + count; ++frame) {
            for (int channel = 0; channel < format_.channels; ++channel)
                audio += encodedTone(format_.sample, frame, channel);
        }
        if (!format_.framed) return audio;
        std::string chunks = "\x02\x01";
        for (std::size_t field : {first, first + 1, std::size_t{1}})
            append(chunks, static_cast<std::uint32_t>(field));
        chunks += "w\x01";
        append(chunks, static_cast<std::uint32_t>(audio.size()));
        return chunks + audio;
    }

    bool writeAll(std::string_view bytes) {
        while (!bytes.empty()) {
            const ssize_t written = ::write(fd_.get(), bytes.data(), bytes.size());
            if (written < 0 && errno == EINTR) continue;
            if (written <= 0) return false;
            bytes.remove_prefix(static_cast<std::size_t>(written));
        }
        return true;
    }

    sdbus::UnixFd fd_;
    StreamFormat format_;
    bool paced_;
};

class TestProvider {
public:
    TestProvider(sdbus::IConnection& connection, const std::string& busName, std::vector<TestVoice> voices)
        : object_(sdbus::createObject(connection, SpielBus::objectPath(busName))),
          voices_(std::move(voices)) {
        const char* provider = SpielBus::providerInterface;
        object_->registerProperty("Voices").onInterface(provider).withGetter([this] {
            std::lock_guard lock(mutex_);
            std::vector<VoiceRecord> records;
            for (const auto& v : voices_)
                records.emplace_back(v.name, v.identifier, v.format, 0, v.languages);
            return records;
        });
        object_->registerMethod("Synthesize")
            .onInterface(provider)
            .implementedAs([this](sdbus::Result<>&& result, sdbus::UnixFd fd, std::string text,
                                  std::string voiceId, double pitch, double rate, bool isSsml,
                                  std::string language) {
                {
                    std::lock_guard lock(mutex_);
                    lastRequest_ = {text, voiceId, pitch, rate, isSsml, language};
                }
                std::istringstream words(text);
                std::string verb = "tone";
                std::size_t frames = 1000, given = 0;
                if (words >> verb && words >> given) frames = given;
                synthesize(std::move(result), std::move(fd), verb, frames, voiceId);
            });
        object_->registerMethod("LastRequest").onInterface(controlInterface).implementedAs([this] {
            std::lock_guard lock(mutex_);
            return lastRequest_;
        });
        object_->registerMethod("LastTiming").onInterface(controlInterface).implementedAs([this] {
            std::lock_guard lock(mutex_);
            return sdbus::Struct<std::uint64_t, std::uint64_t>(timing_.firstAudioMicros, timing_.totalMicros);
        });
        object_->registerMethod("AddVoice")
            .onInterface(controlInterface)
            .implementedAs([this](std::string name, std::string identifier, std::string format,
                                  std::vector<std::string> languages) {
                std::lock_guard lock(mutex_);
                voices_.push_back(
                    {std::move(name), std::move(identifier), std::move(format), std::move(languages)});
            });
        object_->finishRegistration();
    }

private:
    void synthesize(sdbus::Result<>&& result, sdbus::UnixFd fd, const std::string& verb, std::size_t frames,
                    const std::string& voiceId) {
        const auto start = Clock::now();
        const std::optional<TestVoice> voice = find(voiceId);
        const auto format = voice ? StreamFormat::parse(voice->format) : std::nullopt;
        if (!format || verb == "refuse") {
            result.returnError(
                sdbus::Error("org.freedesktop.Speech.Provider.Error.Refused", "The test provider refuses."));
            return;
        }
        ToneWriter writer(std::move(fd), *format, voice->paced);
        ProviderTiming timing;
        if (verb == "die" || verb == "silent") {
            writer.tone(frames, start, timing);
            if (verb == "die") ::_exit(0);
            unanswered_.push_back(std::move(result));
            return;
        }
        result.returnResults();
        std::thread([this, writer = std::move(writer), verb, frames, start, timing]() mutable {
            writer.tone(frames, start, timing);
            if (verb == "garbage") writer.garbage();
            while (verb == "stall") std::this_thread::sleep_for(std::chrono::hours(1));
            timing.totalMicros = micros(start);
            std::lock_guard lock(mutex_);
            timing_ = timing;
        }).detach();
    }

    std::optional<TestVoice> find(const std::string& identifier) {
        std::lock_guard lock(mutex_);
        const auto found = std::ranges::find(voices_, identifier, &TestVoice::identifier);
        return found == voices_.end() ? std::nullopt : std::optional(*found);
    }

    std::unique_ptr<sdbus::IObject> object_;
    std::mutex mutex_;
    std::vector<TestVoice> voices_;
    sdbus::Struct<std::string, std::string, double, double, bool, std::string> lastRequest_;
    ProviderTiming timing_;
    std::vector<sdbus::Result<>> unanswered_;
};

}  // namespace
}  // namespace velmora::test

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: velmora-test-provider BUS-NAME VOICE-SET\n";
        return 2;
    }
    std::signal(SIGPIPE, SIG_IGN);
    try {
        auto connection = sdbus::createSessionBusConnection(argv[1]);
        velmora::test::TestProvider provider(*connection, argv[1], velmora::test::testVoices(argv[2]));
        try {
            connection->enterEventLoop();
        } catch (const sdbus::Error&) {
            return 0;  // the bus went away: the test run is over
        }
    } catch (const sdbus::Error& error) {
        std::cerr << "velmora-test-provider: " << error.getMessage() << '\n';
        return 1;
    }
    return 0;
}
