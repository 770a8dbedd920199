#include "speech/Speaker.h"

#include "speech/Synthesizer.h"

namespace velmora {

Speaker::Speaker(std::shared_ptr<SpeechSystem> system, AudioOutputFactory outputs,
                 std::function<RenderLimits()> limits)
    : system_(std::move(system)),
      outputs_(std::move(outputs)),
      limits_(std::move(limits)),
      thread_([this](std::stop_token stop) { run(stop); }) {}

Speaker::~Speaker() {
    stopAll();
    thread_.request_stop();
    thread_.join();
}

void Speaker::setDelegate(SynthesizerDelegate* delegate) {
    std::lock_guard lock(delegateMutex_);
    delegate_ = delegate;
}

void Speaker::enqueue(const Utterance& utterance) {
    std::lock_guard lock(mutex_);
    queue_.push_back(utterance);
    changed_.notify_all();
}

void Speaker::stopAll() {
    std::lock_guard lock(mutex_);
    current_.request_stop();
    dropped_.insert(dropped_.end(), queue_.begin(), queue_.end());
    queue_.clear();
    changed_.notify_all();
}

void Speaker::run(std::stop_token stop) {
    while (true) {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, stop, [this] { return !queue_.empty() || !dropped_.empty(); });
        std::vector<Utterance> dropped = std::move(dropped_);
        dropped_.clear();
        if (stop.stop_requested() && queue_.empty()) {
            lock.unlock();
            for (const auto& utterance : dropped) report(utterance, false);
            return;
        }
        std::optional<Utterance> next;
        if (!queue_.empty()) {
            next = std::move(queue_.front());
            queue_.pop_front();
            current_ = std::stop_source();
        }
        const std::stop_token utteranceStop = current_.get_token();
        lock.unlock();

        for (const auto& utterance : dropped) report(utterance, false);
        if (next) report(*next, speakOne(*next, utteranceStop));
    }
}

// Renders the utterance straight into the output; true when it was heard to its end.
bool Speaker::speakOne(const Utterance& utterance, std::stop_token stop) {
    std::unique_ptr<AudioOutput> output;
    const RenderOutcome outcome =
        renderUtterance(*system_, utterance, limits_(), stop, [&](const PcmBuffer& buffer) {
            if (!output) output = outputs_(buffer.channels, buffer.sampleRate);
            if (output) output->play(buffer, stop);
        });
    if (output) {
        if (!stop.stop_requested()) output->drain(stop);
        if (stop.stop_requested()) output->discard();
    }
    return outcome.end == RenderOutcome::End::finished && !stop.stop_requested();
}

void Speaker::report(const Utterance& utterance, bool finished) {
    std::lock_guard lock(delegateMutex_);
    if (!delegate_) return;
    if (finished)
        delegate_->didFinish(utterance);
    else
        delegate_->didCancel(utterance);
}

}  // namespace velmora
