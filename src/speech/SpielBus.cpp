#include "speech/SpielBus.h"

#include <fcntl.h>
#include <poll.h>
#include <sdbus-c++/sdbus-c++.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <future>

namespace velmora {
namespace {

constexpr const char* busService = "org.freedesktop.DBus";
constexpr const char* propertiesInterface = "org.freedesktop.DBus.Properties";
constexpr std::chrono::seconds busCallTimeout{5};
// How much longer than a call's own time-out a caller waits for the bus thread to report it.
constexpr std::chrono::seconds reportMargin{1};

// Voices: display name, identifier, output format, feature bits, language tags.
using VoiceRecord =
    sdbus::Struct<std::string, std::string, std::string, std::uint64_t, std::vector<std::string>>;

std::vector<ProviderVoice> providerVoices(const std::string& busName, const sdbus::Variant& value) {
    std::vector<ProviderVoice> voices;
    for (const auto& record : value.get<std::vector<VoiceRecord>>()) {
        const auto& languages = std::get<4>(record);
        const std::string language = languages.empty() ? std::string{} : languages.front();
        voices.push_back(
            {{std::get<1>(record), std::get<0>(record), language, busName}, std::get<2>(record), languages});
    }
    return voices;
}

}  // namespace

// Gathers the answers of several Voices reads sent at once.
struct SpielBus::VoiceReads {
    std::mutex mutex;
    std::condition_variable_any answered;
    std::vector<std::optional<std::vector<ProviderVoice>>> results;
    std::size_t pending = 0;

    void record(std::size_t index, std::vector<ProviderVoice> voices) {
        std::lock_guard lock(mutex);
        results[index] = std::move(voices);
        if (--pending == 0) answered.notify_all();
    }
};

bool SynthesisReply::wait(std::chrono::milliseconds timeout, std::stop_token stop) {
    std::unique_lock lock(mutex_);
    return arrived_.wait_for(lock, stop, timeout, [this] { return done_; });
}

std::optional<std::string> SynthesisReply::error() const {
    std::lock_guard lock(mutex_);
    return error_;
}

void SynthesisReply::deliver(std::optional<std::string> error) {
    std::lock_guard lock(mutex_);
    error_ = std::move(error);
    done_ = true;
    arrived_.notify_all();
}

std::shared_ptr<SpielBus> SpielBus::connectToSession() {
    try {
        return std::make_shared<SpielBus>(sdbus::createSessionBusConnection());
    } catch (const sdbus::Error&) {
        return nullptr;
    }
}

SpielBus::SpielBus(std::unique_ptr<sdbus::IConnection> connection)
    : connection_(std::move(connection)), wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    // Variants live in messages of a connection that the library makes on first use and keeps
    // in a function-local static. Making one here, before any bus object of ours is complete,
    // has that static outlive our own (a process-wide SpielBus included).
    [[maybe_unused]] const sdbus::Variant firstVariant;
    thread_ = std::jthread([this](std::stop_token stop) { serve(std::move(stop)); });
}

SpielBus::~SpielBus() {
    thread_.request_stop();
    wake();
    thread_.join();
    // The bus thread is gone: its proxies (and their pending calls) go on this one.
    proxies_.clear();
}

void SpielBus::post(Task task) {
    {
        std::lock_guard lock(tasksMutex_);
        tasks_.push_back(std::move(task));
    }
    wake();
}

void SpielBus::wake() {
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = ::write(wake_.get(), &one, sizeof one);
}

// The bus thread: runs the tasks handed to it and the connection's events, and sleeps in
// poll until the bus, a time-out of a call or a new task needs it.
void SpielBus::serve(std::stop_token stop) {
    bool busWorks = true;
    while (!stop.stop_requested()) {
        runPostedTasks();
        busWorks = busWorks && processBus();
        pollfd fds[2] = {{wake_.get(), POLLIN, 0}, {-1, 0, 0}};
        int timeout = -1;
        if (busWorks) {
            const auto data = connection_->getEventLoopPollData();
            fds[1] = {data.fd, data.events, 0};
            timeout = data.getPollTimeout();
        }
        if (::poll(fds, 2, timeout) > 0 && (fds[0].revents & POLLIN) != 0) {
            std::uint64_t count = 0;
            [[maybe_unused]] const auto got = ::read(wake_.get(), &count, sizeof count);
        }
    }
}

void SpielBus::runPostedTasks() {
    std::vector<Task> tasks;
    {
        std::lock_guard lock(tasksMutex_);
        tasks.swap(tasks_);
    }
    for (auto& task : tasks) task();
}

// Handles everything the connection has ready; false once it is broken (its pending calls have
// then been answered with the bus's error, and new ones fail as they are sent).
bool SpielBus::processBus() {
    try {
        while (connection_->processPendingRequest()) {
        }
        return true;
    } catch (const sdbus::Error&) {
        return false;
    }
}

bool SpielBus::isProviderName(std::string_view name) {
    return !name.starts_with(':') && name.size() > providerSuffix.size() && name.ends_with(providerSuffix) &&
           name[name.size() - providerSuffix.size() - 1] == '.';
}

std::string SpielBus::objectPath(std::string_view busName) {
    std::string path(1, '/');
    path.reserve(busName.size() + 1);
    for (char c : busName) path.push_back(c == '.' ? '/' : c);
    return path;
}

std::vector<std::string> SpielBus::namesFromBus(const char* method) {
    auto answer = std::make_shared<std::promise<std::vector<std::string>>>();
    auto names = answer->get_future();
    post([this, method, answer] {
        try {
            proxyFor(busService)
                .callMethodAsync(method)
                .onInterface(busService)
                .withTimeout(busCallTimeout)
                .uponReplyInvoke([answer](const sdbus::Error* error, std::vector<std::string> found) {
                    answer->set_value(error ? std::vector<std::string>{} : std::move(found));
                });
        } catch (const sdbus::Error&) {
            answer->set_value({});
        }
    });
    if (names.wait_for(busCallTimeout + reportMargin) != std::future_status::ready) return {};
    try {
        return names.get();
    } catch (const std::future_error&) {
        return {};  // the bus went away before it answered
    }
}

std::vector<std::string> SpielBus::providerNames() {
    std::vector<std::string> names = namesFromBus("ListNames");
    std::vector<std::string> activatable = namesFromBus("ListActivatableNames");
    names.insert(names.end(), activatable.begin(), activatable.end());
    std::erase_if(names, [](const std::string& name) { return !isProviderName(name); });
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
}

std::vector<ProviderVoice> SpielBus::voicesOf(const std::vector<std::string>& providers,
                                              std::chrono::milliseconds timeout, std::stop_token stop) {
    auto reads = std::make_shared<VoiceReads>();
    reads->results.resize(providers.size());
    reads->pending = providers.size();
    post([this, reads, providers, timeout] { sendVoiceReads(reads, providers, timeout); });
    std::unique_lock lock(reads->mutex);
    // Every call has its own time-out; the margin covers a bus that never reports it.
    reads->answered.wait_for(lock, stop, timeout + reportMargin, [&] { return reads->pending == 0; });
    std::vector<ProviderVoice> voices;
    for (auto& result : reads->results) {
        if (result) voices.insert(voices.end(), result->begin(), result->end());
    }
    return voices;
}

void SpielBus::sendVoiceReads(const std::shared_ptr<VoiceReads>& reads,
                              const std::vector<std::string>& providers, std::chrono::milliseconds timeout) {
    for (std::size_t index = 0; index < providers.size(); ++index) {
        const std::string& busName = providers[index];
        try {
            proxyFor(busName)
                .callMethodAsync("Get")
                .onInterface(propertiesInterface)
                .withTimeout(timeout)
                .withArguments(std::string(providerInterface), std::string("Voices"))
                .uponReplyInvoke([reads, index, busName](const sdbus::Error* error, sdbus::Variant value) {
                    std::vector<ProviderVoice> voices;
                    if (!error) {
                        try {
                            voices = providerVoices(busName, value);
                        } catch (const sdbus::Error&) {
                            // Not a list of voices: the provider offers none.
                        }
                    }
                    reads->record(index, std::move(voices));
                });
        } catch (const sdbus::Error&) {
            reads->record(index, {});
        }
    }
}

std::shared_ptr<SynthesisReply> SpielBus::synthesize(const SynthesisRequest& request, int writeEnd,
                                                     std::chrono::milliseconds timeout) {
    auto reply = std::make_shared<SynthesisReply>();
    // The caller may close its write end once this returns: the call keeps a copy of its own.
    auto pipe = std::make_shared<UniqueFd>(::fcntl(writeEnd, F_DUPFD_CLOEXEC, 0));
    post([this, request, timeout, reply, pipe] {
        try {
            proxyFor(request.busName)
                .callMethodAsync("Synthesize")
                .onInterface(providerInterface)
                .withTimeout(timeout)
                .withArguments(sdbus::UnixFd(pipe->release(), sdbus::adopt_fd), request.text, request.voiceId,
                               request.pitch, request.rate, request.isSsml, request.language)
                .uponReplyInvoke([reply](const sdbus::Error* error) {
                    if (!error) return reply->deliver(std::nullopt);
                    reply->deliver(error->getName() + ": " + error->getMessage());
                });
        } catch (const sdbus::Error& error) {
            reply->deliver(error.getName() + ": " + error.getMessage());
        }
    });
    return reply;
}

sdbus::IProxy& SpielBus::proxyFor(const std::string& busName) {
    auto& proxy = proxies_[busName];
    if (!proxy) proxy = sdbus::createProxy(*connection_, busName, objectPath(busName));
    return *proxy;
}

}  // namespace velmora
