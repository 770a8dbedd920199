#include "FakePipeline.h"

#include <stdexcept>

namespace velmora::test {

std::int64_t FakePipeline::run(const EnhancedVoice& voice, const EnhancedServices::Progress& progress,
                               const EnhancedServices::Unpacking& unpacking, std::stop_token stop) {
    std::unique_lock lock(mutex_);
    auto call = std::make_shared<Call>(Call{voice.id(), {}});
    calls_.push_back(call);
    changed_.notify_all();
    const auto end = [this] {
        ++ended_;
        changed_.notify_all();
    };
    while (true) {
        changed_.wait(lock, stop, [&] { return !call->steps.empty(); });
        if (call->steps.empty()) {
            end();
            throw std::runtime_error("cancelled");
        }
        const Step step = call->steps.front();
        call->steps.pop_front();
        changed_.notify_all();
        lock.unlock();
        if (step.kind == Step::progress) progress(step.fraction);
        if (step.kind == Step::unpacking) unpacking();
        lock.lock();
        ++call->handled;
        changed_.notify_all();
        if (step.kind == Step::finish) {
            end();
            return step.size;
        }
        if (step.kind == Step::fail) {
            end();
            throw std::runtime_error(step.message);
        }
    }
}

void FakePipeline::push(std::size_t call, const std::vector<Step>& steps) {
    waitForCalls(call + 1);
    std::lock_guard lock(mutex_);
    calls_[call]->steps.insert(calls_[call]->steps.end(), steps.begin(), steps.end());
    calls_[call]->pushed += steps.size();
    changed_.notify_all();
}

void FakePipeline::waitForCalls(std::size_t count) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return calls_.size() >= count; });
}

void FakePipeline::waitForEnded(std::size_t count) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return ended_ >= count; });
}

void FakePipeline::waitUntilTaken(std::size_t call) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock,
                  [&] { return calls_.size() > call && calls_[call]->handled == calls_[call]->pushed; });
}

std::string FakePipeline::voiceOf(std::size_t call) {
    std::lock_guard lock(mutex_);
    return calls_.at(call)->voiceId;
}

}  // namespace velmora::test
