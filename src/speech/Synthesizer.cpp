#include "speech/Synthesizer.h"

#include "speech/Speaker.h"

namespace velmora {

Synthesizer::Synthesizer() : Synthesizer(SpeechSystem::shared(), openAudioOutput) {}

Synthesizer::Synthesizer(std::shared_ptr<SpeechSystem> system, AudioOutputFactory outputs)
    : system_(std::move(system)),
      speaker_(std::make_unique<Speaker>(system_, std::move(outputs), [this] { return limits(); })) {}

Synthesizer::~Synthesizer() {
    speaker_.reset();
    std::list<RenderJob> jobs;
    {
        std::lock_guard lock(mutex_);
        jobs = std::move(jobs_);
    }
    for (auto& job : jobs) job.thread.request_stop();
    // The jthreads join as `jobs` goes.
}

void Synthesizer::setDelegate(SynthesizerDelegate* delegate) { speaker_->setDelegate(delegate); }

void Synthesizer::speak(const Utterance& utterance) { speaker_->enqueue(utterance); }

void Synthesizer::stop() {
    speaker_->stopAll();
    std::lock_guard lock(mutex_);
    for (auto& job : jobs_) job.thread.request_stop();
}

void Synthesizer::write(const Utterance& utterance, BufferCallback callback) {
    auto done = std::make_shared<std::atomic<bool>>(false);
    std::jthread thread([system = system_, utterance, callback = std::move(callback), limits = limits(),
                         done](std::stop_token stop) {
        renderUtterance(*system, utterance, limits, stop, callback);
        callback(PcmBuffer{});
        done->store(true);
    });
    std::lock_guard lock(mutex_);
    reapFinishedJobs();
    jobs_.push_back({std::move(thread), std::move(done)});
}

void Synthesizer::setLimits(const RenderLimits& limits) {
    std::lock_guard lock(mutex_);
    limits_ = limits;
}

RenderLimits Synthesizer::limits() const {
    std::lock_guard lock(mutex_);
    return limits_;
}

// Joins the threads of renders that have ended; they return at once.
void Synthesizer::reapFinishedJobs() {
    std::erase_if(jobs_, [](const RenderJob& job) { return job.done->load(); });
}

}  // namespace velmora
