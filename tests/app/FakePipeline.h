#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <stop_token>
#include <string>
#include <vector>

#include "app/EnhancedServices.h"

namespace velmora::test {

// An install pipeline that the test drives step by step: each call waits for the steps pushed
// to it, in order, and ends with a "finish" or "fail" step, or with a cancellation error when it
// has been stopped and has no step left.
class FakePipeline {
public:
    struct Step {
        enum Kind { progress, unpacking, finish, fail } kind;
        double fraction = 0;
        std::int64_t size = 0;
        std::string message;
    };
    static Step progressTo(double fraction) { return {Step::progress, fraction, 0, {}}; }
    static Step unpack() { return {Step::unpacking, 0, 0, {}}; }
    static Step finishWith(std::int64_t size) { return {Step::finish, 0, size, {}}; }
    static Step failWith(std::string message) { return {Step::fail, 0, 0, std::move(message)}; }

    // The pipeline as EnhancedServices::install; the fake must outlive the manager's installs.
    std::int64_t run(const EnhancedVoice& voice, const EnhancedServices::Progress& progress,
                     const EnhancedServices::Unpacking& unpacking, std::stop_token stop);

    // Steps for the call with this index (calls are counted from 0 in the order they start).
    void push(std::size_t call, const std::vector<Step>& steps);
    // Waits until `count` calls have started, or `count` have returned.
    void waitForCalls(std::size_t count);
    void waitForEnded(std::size_t count);
    // Waits until the call has made the reports of every step pushed to it so far.
    void waitUntilTaken(std::size_t call);
    std::string voiceOf(std::size_t call);

private:
    struct Call {
        std::string voiceId;
        std::deque<Step> steps;
        std::size_t pushed = 0;
        std::size_t handled = 0;  // steps whose report has been made
    };
    std::mutex mutex_;
    std::condition_variable_any changed_;
    std::vector<std::shared_ptr<Call>> calls_;
    std::size_t ended_ = 0;
};

}  // namespace velmora::test
