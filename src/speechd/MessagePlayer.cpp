#include "speechd/MessagePlayer.h"

#include <algorithm>
#include <deque>
#include <iostream>
#include <limits>

#include "speech/StreamParser.h"

namespace velmora::speechd {
namespace {

// The audio and events of one message on their way to the output: audio is played up to each
// mark's frame, and the mark reported once that audio has been heard.
class Playback {
public:
    Playback(const AudioOutputFactory& outputs, const MessagePlayer::Notify& notify, float gain,
             std::stop_source halt, std::atomic<MessagePlayer::Halt>& reason,
             const std::atomic<bool>& pauseAtMark)
        : outputs_(outputs),
          notify_(notify),
          gain_(gain),
          halt_(std::move(halt)),
          reason_(reason),
          pauseAtMark_(pauseAtMark) {}

    void takeEvents(std::vector<StreamEvent> events) {
        for (auto& event : events)
            if (event.type == StreamEvent::Type::mark) marks_.push_back(std::move(event));
    }

    void takeAudio(const PcmBuffer& buffer) {
        begin(buffer.channels, buffer.sampleRate);
        const std::size_t frames = buffer.frameCount();
        std::size_t done = 0;
        while (reportPassedMarks() && done < frames) {
            const std::uint64_t nextMark =
                marks_.empty() ? std::numeric_limits<std::uint64_t>::max() : marks_.front().frame;
            const std::size_t count =
                static_cast<std::size_t>(std::min<std::uint64_t>(frames - done, nextMark - played_));
            playSlice(buffer, done, count);
            done += count;
            played_ += count;
        }
    }

    // Reports the marks after the last sample, then the end: END, or STOP or PAUSE when halted.
    void finish(const RenderOutcome& outcome) {
        if (!begun_) begin(0, 0);
        if (outcome.end == RenderOutcome::End::finished) {
            played_ = std::numeric_limits<std::uint64_t>::max();
            reportPassedMarks();
        }
        const std::stop_token stop = halt_.get_token();
        if (output_ && !stop.stop_requested()) output_->drain(stop);
        if (output_ && stop.stop_requested()) output_->discard();
        if (outcome.end == RenderOutcome::End::failed)
            std::cerr << "sd_velmora: the message could not be spoken: " << outcome.problem << std::endl;
        if (reason_ == MessagePlayer::Halt::pause)
            notify_({"704 PAUSE"});
        else if (stop.stop_requested() || outcome.end != RenderOutcome::End::finished)
            notify_({"703 STOP"});
        else
            notify_({"702 END"});
    }

private:
    void begin(int channels, double sampleRate) {
        if (!begun_) notify_({"701 BEGIN"});
        begun_ = true;
        if (!output_ && channels > 0) output_ = outputs_(channels, sampleRate);
    }

    // Reports each mark whose audio has been heard; false once the message is halted.
    bool reportPassedMarks() {
        const std::stop_token stop = halt_.get_token();
        while (!marks_.empty() && marks_.front().frame <= played_ && !stop.stop_requested()) {
            if (output_) output_->drain(stop);
            if (stop.stop_requested()) break;
            notify_({"700-" + marks_.front().name, "700 INDEX MARK"});
            marks_.pop_front();
            if (pauseAtMark_) {
                reason_ = MessagePlayer::Halt::pause;
                halt_.request_stop();
            }
        }
        return !stop.stop_requested();
    }

    void playSlice(const PcmBuffer& buffer, std::size_t firstFrame, std::size_t frames) {
        if (!output_ || frames == 0) return;
        const auto channels = static_cast<std::size_t>(buffer.channels);
        PcmBuffer slice{{}, buffer.channels, buffer.sampleRate};
        const auto first = buffer.samples.begin() + static_cast<std::ptrdiff_t>(firstFrame * channels);
        slice.samples.assign(first, first + static_cast<std::ptrdiff_t>(frames * channels));
        for (float& sample : slice.samples) sample *= gain_;
        output_->play(slice, halt_.get_token());
    }

    const AudioOutputFactory& outputs_;
    const MessagePlayer::Notify& notify_;
    float gain_;
    std::stop_source halt_;
    std::atomic<MessagePlayer::Halt>& reason_;
    const std::atomic<bool>& pauseAtMark_;
    std::unique_ptr<AudioOutput> output_;
    std::deque<StreamEvent> marks_;
    std::uint64_t played_ = 0;  // frames handed to the output
    bool begun_ = false;
};

}  // namespace

MessagePlayer::MessagePlayer(std::shared_ptr<SpeechSystem> system, AudioOutputFactory outputs, Notify notify,
                             RenderLimits limits)
    : system_(std::move(system)), outputs_(std::move(outputs)), notify_(std::move(notify)), limits_(limits) {}

MessagePlayer::~MessagePlayer() { stop(); }

void MessagePlayer::play(Message message) {
    if (thread_.joinable()) thread_.join();
    halt_ = std::stop_source();
    reason_ = Halt::none;
    pauseAtMark_ = false;
    thread_ = std::jthread([this, message = std::move(message), halt = halt_] { speak(message, halt); });
}

void MessagePlayer::stop() {
    if (reason_ == Halt::none) reason_ = Halt::stop;
    halt_.request_stop();
}

void MessagePlayer::pause() { pauseAtMark_ = true; }

void MessagePlayer::speak(const Message& message, std::stop_source halt) {
    Playback playback(outputs_, notify_, message.gain, halt, reason_, pauseAtMark_);
    const RenderOutcome outcome = renderUtterance(
        *system_, message.utterance, limits_, halt.get_token(),
        [&](const PcmBuffer& buffer) { playback.takeAudio(buffer); },
        [&](std::vector<StreamEvent> events) { playback.takeEvents(std::move(events)); });
    playback.finish(outcome);
}

}  // namespace velmora::speechd
