#include "speech/SpeechTestSupport.h"

#include "speech/NullOutput.h"

namespace velmora::test {

RenderCapture::RenderCapture() : state_(std::make_shared<State>()) {}

BufferCallback RenderCapture::callback() {
    return [state = state_](const PcmBuffer& buffer) {
        std::lock_guard lock(state->mutex);
        Render& render = state->render;
        if (render.ended) {
            ++render.buffersAfterEnd;
            return;
        }
        if (buffer.frameCount() == 0) {
            ++render.endBuffers;
            render.ended = true;
            state->ended.notify_all();
            return;
        }
        render.channels = buffer.channels;
        render.sampleRate = buffer.sampleRate;
        render.samples.insert(render.samples.end(), buffer.samples.begin(), buffer.samples.end());
    };
}

Render RenderCapture::wait(std::chrono::milliseconds limit) {
    std::unique_lock lock(state_->mutex);
    state_->ended.wait_for(lock, limit, [&] { return state_->render.ended; });
    return state_->render;
}

std::vector<std::string> DelegateRecorder::waitFor(std::size_t count, std::chrono::milliseconds limit) {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, limit, [&] { return events_.size() >= count; });
    return events_;
}

void DelegateRecorder::record(std::string event) {
    std::lock_guard lock(mutex_);
    events_.push_back(std::move(event));
    changed_.notify_all();
}

namespace {

class CountingOutput : public AudioOutput {
public:
    CountingOutput(std::function<void(std::size_t)> count) : count_(std::move(count)) {}
    void play(const PcmBuffer& buffer, std::stop_token stop) override {
        inner_.play(buffer, stop);
        count_(buffer.frameCount());
    }
    void drain(std::stop_token stop) override { inner_.drain(stop); }
    void discard() override {}

private:
    NullOutput inner_;
    std::function<void(std::size_t)> count_;
};

}  // namespace

AudioOutputFactory CountingOutputs::factory() {
    return [shared = shared_](int, double) -> std::unique_ptr<AudioOutput> {
        return std::make_unique<CountingOutput>([shared](std::size_t frames) {
            std::lock_guard lock(shared->mutex);
            shared->frames += frames;
        });
    };
}

std::size_t CountingOutputs::framesPlayed() const {
    std::lock_guard lock(shared_->mutex);
    return shared_->frames;
}

}  // namespace velmora::test
