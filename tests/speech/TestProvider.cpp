// A speech provider for the tests: speaks saw-tooth tones of exact lengths in the formats its
// voices name, and misbehaves on request. The text is a command and a frame count:
//   "tone N"    replies, then writes N frames from a thread of its own and closes the pipe
//   "die N"     writes N frames and exits before replying
//   "stall N"   replies, writes N frames and keeps the pipe open without writing more
//   "silent N"  writes N frames, closes the pipe and never replies
//   "garbage N" replies, writes N frames and then bytes that are not audio
//   "refuse"    replies with an error and writes nothing
// Anything else is spoken as "tone 1000". Usage: velmora-test-provider BUS-NAME VOICE-SET
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstring>
#include <iostream>
#include <mutex>
#include <sstream>
#include <thread>

#include <sdbus-c++/sdbus-c++.h>
#include <unistd.h>

#include "speech/SpielBus.h"
#include "speech/StreamFormat.h"
#include "speech/ToneSignal.h"
#include "speech/TestProviderVoices.h"

namespace velmora::test {
namespace {

using VoiceRecord = sdbus::Struct<std::string, std::string, std::string, std::uint64_t, std::vector<std::string>>;
using Clock = std::chrono::steady_clock;
constexpr std::size_t framesPerBlock = 500;
constexpr std::size_t pacedFramesPerBlock = 220;               // 10 ms at 22050 Hz
constexpr std::chrono::microseconds pacedBlockWork{500};       // 20 times real time

struct Command {
    std::string verb = "tone";
    std::size_t frames = 1000;
};

Command parseCommand(const std::string& text) {
    Command command;
    std::istringstream words(text);
    std::string verb;
    std::size_t frames = 0;
    if (words >> verb) {
        command.verb = verb;
        if (words >> frames) command.frames = frames;
    }
    return command;
}

// What the provider did for its last utterance, as the provider itself measured it.
struct Timing {
    std::uint64_t firstAudioMicros = 0;
    std::uint64_t totalMicros = 0;
};

class ToneWriter {
public:
    ToneWriter(sdbus::UnixFd fd, StreamFormat format, bool paced) : fd_(std::move(fd)), format_(format), paced_(paced) {}

    // Writes frames [0, count) and reports when the first audio went out.
    bool tone(std::size_t count, Clock::time_point start, Timing& timing) {
        if (format_.framed && !writeAll("0.01", 4)) return false;
        const std::size_t block = paced_ ? pacedFramesPerBlock : framesPerBlock;
        for (std::size_t first = 0; first < count; first += block) {
            if (paced_) std::this_thread::sleep_for(pacedBlockWork);
            const std::string audio = samples(first, std::min(block, count - first));
            if (format_.framed && !(event(first) && chunkHeader(1, audio.size()))) return false;
            if (!writeAll(audio.data(), audio.size())) return false;
            if (first == 0) timing.firstAudioMicros = micros(start);
        }
        return true;
    }

    void garbage() {
        if (format_.framed) {
            const char unknownChunk[] = {7, 1, 2, 3};
            writeAll(unknownChunk, sizeof unknownChunk);
        } else {
            writeAll("x", 1);  // half a sample
        }
    }

    static std::uint64_t micros(Clock::time_point start) {
        return static_cast<std::uint64_t>(
            std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start).count());
    }

private:
    std::string samples(std::size_t first, std::size_t count) const {
        std::string bytes;
        for (std::size_t frame = first; frame < first + count; ++frame) {
            for (int channel = 0; channel < format_.channels; ++channel) {
                if (format_.sample == StreamFormat::Sample::s16le) {
                    const std::int16_t value = toneValue(frame, channel);
                    bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
                } else {
                    const float value = toneSample(frame, channel);
                    bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
                }
            }
        }
        return bytes;
    }

    bool chunkHeader(char type, std::size_t length) {
        const auto size = static_cast<std::uint32_t>(length);
        char header[5] = {type};
        std::memcpy(header + 1, &size, sizeof size);
        return writeAll(header, sizeof header);
    }

    // A word event for the frames to come, named "w" + first frame.
    bool event(std::size_t first) {
        const std::string name = std::string("w").append(std::to_string(first));
        const std::uint32_t fields[3] = {static_cast<std::uint32_t>(first), static_cast<std::uint32_t>(first + 1),
                                         static_cast<std::uint32_t>(name.size())};
        char record[1 + 1 + sizeof fields] = {2, 1};
        std::memcpy(record + 2, fields, sizeof fields);
        return writeAll(record, sizeof record) && writeAll(name.data(), name.size());
    }

    bool writeAll(const char* data, std::size_t size) {
        while (size > 0) {
            const ssize_t written = ::write(fd_.get(), data, size);
            if (written < 0 && errno == EINTR) continue;
            if (written <= 0) return false;
            data += written;
            size -= static_cast<std::size_t>(written);
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
        : object_(sdbus::createObject(connection, SpielBus::objectPath(busName))), name_(busName),
          voices_(std::move(voices)) {
        registerProvider();
        registerControl();
        object_->finishRegistration();
    }

private:
    void registerProvider() {
        object_->registerProperty("Name").onInterface(SpielBus::providerInterface).withGetter([this] { return name_; });
        object_->registerProperty("Voices").onInterface(SpielBus::providerInterface).withGetter([this] {
            std::lock_guard lock(mutex_);
            std::vector<VoiceRecord> records;
            for (const auto& voice : voices_) records.emplace_back(voice.name, voice.identifier, voice.format, 0, voice.languages);
            return records;
        });
        object_->registerMethod("Synthesize")
            .onInterface(SpielBus::providerInterface)
            .implementedAs([this](sdbus::Result<>&& result, sdbus::UnixFd fd, std::string text, std::string voiceId,
                                  double pitch, double rate, bool isSsml, std::string language) {
                {
                    std::lock_guard lock(mutex_);
                    lastRequest_ = {text, voiceId, pitch, rate, isSsml, language};
                }
                synthesize(std::move(result), std::move(fd), parseCommand(text), voiceId);
            });
    }

    void registerControl() {
        object_->registerMethod("LastRequest").onInterface(controlInterface).implementedAs([this] {
            std::lock_guard lock(mutex_);
            return lastRequest_;
        });
        object_->registerMethod("LastTiming").onInterface(controlInterface).implementedAs([this] {
            std::lock_guard lock(mutex_);
            return sdbus::Struct<std::uint64_t, std::uint64_t>(timing_.firstAudioMicros, timing_.totalMicros);
        });
        object_->registerMethod("AddVoice").onInterface(controlInterface).implementedAs(
            [this](std::string name, std::string identifier, std::string format, std::vector<std::string> languages) {
                std::lock_guard lock(mutex_);
                voices_.push_back({std::move(name), std::move(identifier), std::move(format), std::move(languages)});
            });
    }

    void synthesize(sdbus::Result<>&& result, sdbus::UnixFd fd, const Command& command, const std::string& voiceId) {
        const auto start = Clock::now();
        const std::optional<TestVoice> voice = find(voiceId);
        const auto format = voice ? StreamFormat::parse(voice->format) : std::nullopt;
        if (!format || command.verb == "refuse") {
            result.returnError(sdbus::Error("org.freedesktop.Speech.Provider.Error.Refused", "The test provider refuses."));
            return;
        }
        ToneWriter writer(std::move(fd), *format, voice->paced);
        Timing unrecorded;
        if (command.verb == "die") {
            writer.tone(command.frames, start, unrecorded);
            ::_exit(0);
        }
        if (command.verb == "silent") {
            writer.tone(command.frames, start, unrecorded);
            unanswered_.push_back(std::move(result));
            return;
        }
        result.returnResults();
        std::thread([this, writer = std::move(writer), command, start]() mutable {
            Timing timing;
            writer.tone(command.frames, start, timing);
            if (command.verb == "garbage") writer.garbage();
            while (command.verb == "stall") std::this_thread::sleep_for(std::chrono::hours(1));
            timing.totalMicros = ToneWriter::micros(start);
            std::lock_guard lock(mutex_);
            timing_ = timing;
        }).detach();
    }

    std::optional<TestVoice> find(const std::string& identifier) {
        std::lock_guard lock(mutex_);
        for (const auto& voice : voices_) {
            if (voice.identifier == identifier) return voice;
        }
        return std::nullopt;
    }

    std::unique_ptr<sdbus::IObject> object_;
    std::string name_;
    std::mutex mutex_;
    std::vector<TestVoice> voices_;
    sdbus::Struct<std::string, std::string, double, double, bool, std::string> lastRequest_;
    Timing timing_;
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
