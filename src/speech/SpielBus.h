#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "base/UniqueFd.h"
#include "speech/SpeechTypes.h"

namespace sdbus {
class IConnection;
class IProxy;
}  // namespace sdbus

namespace velmora {

// One voice of one speech provider, with what it takes to synthesize with it.
struct ProviderVoice {
    SpeechVoice voice;         // with the provider that speaks it
    std::string outputFormat;  // the format text of the audio it writes
    std::vector<std::string> languages;

    bool operator==(const ProviderVoice&) const = default;
};

// What one Synthesize call asks of a provider, on the provider's scales.
struct SynthesisRequest {
    std::string busName;
    std::string text;
    std::string voiceId;
    double pitch = 1.0;
    double rate = 1.0;
    bool isSsml = false;
    std::string language;
};

// The outcome of one Synthesize call; the reply arrives on the bus's own thread.
class SynthesisReply {
public:
    // Waits up to `timeout` for the reply, or until `stop` is requested: true once it came,
    // whatever it said.
    bool wait(std::chrono::milliseconds timeout, std::stop_token stop);
    // The provider's error, or the bus's when the call failed; absent for success or no reply yet.
    std::optional<std::string> error() const;

    void deliver(std::optional<std::string> error);

private:
    mutable std::mutex mutex_;
    std::condition_variable_any arrived_;
    bool done_ = false;
    std::optional<std::string> error_;
};

// The session bus as the speech client uses it: the speech providers on it (org.freedesktop.
// Speech.Provider), their voices and their Synthesize method. One connection shared by every
// caller; calls from any thread. The connection is used on one thread only, the bus thread,
// which runs its event loop: every call is handed to that thread and sent from there, and its
// replies come back there. sd-bus supports one thread per connection, and sdbus-c++ races when
// an asynchronous call is sent from another thread than the loop's.
class SpielBus {
public:
    static constexpr const char* providerInterface = "org.freedesktop.Speech.Provider";
    static constexpr std::string_view providerSuffix = "Speech.Provider";

    // Connects to the session bus; absent when there is none.
    static std::shared_ptr<SpielBus> connectToSession();

    explicit SpielBus(std::unique_ptr<sdbus::IConnection> connection);
    ~SpielBus();
    SpielBus(const SpielBus&) = delete;
    SpielBus& operator=(const SpielBus&) = delete;

    // Whether a bus name is a speech provider's well-known name.
    static bool isProviderName(std::string_view name);
    // The provider's object path: its name with dots as slashes, after a leading slash.
    static std::string objectPath(std::string_view busName);

    // Every provider, running or activatable, sorted by name.
    std::vector<std::string> providerNames();
    // The voices of `providers`, provider by provider in the given order; a provider that
    // does not answer within `timeout`, or answers with something else, has none; a stop
    // request ends the wait at once, with what has come.
    std::vector<ProviderVoice> voicesOf(const std::vector<std::string>& providers,
                                        std::chrono::milliseconds timeout, std::stop_token stop = {});
    // Sends one Synthesize call with `writeEnd` (duplicated into the message) as the pipe.
    std::shared_ptr<SynthesisReply> synthesize(const SynthesisRequest& request, int writeEnd,
                                               std::chrono::milliseconds timeout);

private:
    using Task = std::function<void()>;
    struct VoiceReads;

    // Runs `task` on the bus thread, after the tasks handed over before it.
    void post(Task task);
    void serve(std::stop_token stop);
    void runPostedTasks();
    bool processBus();
    void wake();

    // On the bus thread only.
    sdbus::IProxy& proxyFor(const std::string& busName);
    std::vector<std::string> namesFromBus(const char* method);
    void sendVoiceReads(const std::shared_ptr<VoiceReads>& reads, const std::vector<std::string>& providers,
                        std::chrono::milliseconds timeout);

    std::unique_ptr<sdbus::IConnection> connection_;
    std::map<std::string, std::unique_ptr<sdbus::IProxy>> proxies_;
    UniqueFd wake_;  // an eventfd that wakes the bus thread's poll
    std::mutex tasksMutex_;
    std::vector<Task> tasks_;
    std::jthread thread_;
};

}  // namespace velmora
