#include "speech/SpielBus.h"

#include <fcntl.h>
#include <sdbus-c++/sdbus-c++.h>

#include <algorithm>
#include <cstdint>

namespace velmora {
namespace {

constexpr const char* busService = "org.freedesktop.DBus";
constexpr const char* busPath = "/org/freedesktop/DBus";
constexpr const char* propertiesInterface = "org.freedesktop.DBus.Properties";
constexpr std::chrono::seconds busCallTimeout{5};

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

// Gathers the answers of several Voices reads sent at once.
struct VoiceReads {
    std::mutex mutex;
    std::condition_variable answered;
    std::vector<std::optional<std::vector<ProviderVoice>>> results;
    std::size_t pending = 0;

    void record(std::size_t index, std::vector<ProviderVoice> voices) {
        std::lock_guard lock(mutex);
        results[index] = std::move(voices);
        if (--pending == 0) answered.notify_all();
    }
};

}  // namespace

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

SpielBus::SpielBus(std::unique_ptr<sdbus::IConnection> connection) : connection_(std::move(connection)) {
    // Variants live in messages of a connection that the library makes on first use and keeps
    // in a function-local static. Making one here, before any bus object of ours is complete,
    // has that static outlive our own (a process-wide SpielBus included); otherwise a reply
    // handler still running on the bus thread at exit would free a variant into a destroyed
    // connection.
    [[maybe_unused]] const sdbus::Variant firstVariant;
    connection_->enterEventLoopAsync();
}

SpielBus::~SpielBus() {
    try {
        connection_->leaveEventLoop();
    } catch (const sdbus::Error&) {
        // The loop is gone with the connection either way.
    }
    proxies_.clear();
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
    std::vector<std::string> names;
    try {
        auto bus = sdbus::createProxy(*connection_, busService, busPath);
        bus->callMethod(method).onInterface(busService).withTimeout(busCallTimeout).storeResultsTo(names);
    } catch (const sdbus::Error&) {
        names.clear();
    }
    return names;
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
                                              std::chrono::milliseconds timeout) {
    auto reads = std::make_shared<VoiceReads>();
    reads->results.resize(providers.size());
    reads->pending = providers.size();
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
    std::unique_lock lock(reads->mutex);
    // Every call has its own time-out; the margin covers a bus that never reports it.
    reads->answered.wait_for(lock, timeout + std::chrono::seconds(1), [&] { return reads->pending == 0; });
    std::vector<ProviderVoice> voices;
    for (auto& result : reads->results) {
        if (result) voices.insert(voices.end(), result->begin(), result->end());
    }
    return voices;
}

std::shared_ptr<SynthesisReply> SpielBus::synthesize(const SynthesisRequest& request, int writeEnd,
                                                     std::chrono::milliseconds timeout) {
    auto reply = std::make_shared<SynthesisReply>();
    try {
        proxyFor(request.busName)
            .callMethodAsync("Synthesize")
            .onInterface(providerInterface)
            .withTimeout(timeout)
            .withArguments(sdbus::UnixFd(::fcntl(writeEnd, F_DUPFD_CLOEXEC, 0), sdbus::adopt_fd),
                           request.text, request.voiceId, request.pitch, request.rate, request.isSsml,
                           request.language)
            .uponReplyInvoke([reply](const sdbus::Error* error) {
                if (!error) return reply->deliver(std::nullopt);
                reply->deliver(error->getName() + ": " + error->getMessage());
            });
    } catch (const sdbus::Error& error) {
        reply->deliver(error.getName() + ": " + error.getMessage());
    }
    return reply;
}

sdbus::IProxy& SpielBus::proxyFor(const std::string& busName) {
    std::lock_guard lock(proxiesMutex_);
    auto& proxy = proxies_[busName];
    if (!proxy) proxy = sdbus::createProxy(*connection_, busName, objectPath(busName));
    return *proxy;
}

}  // namespace velmora
