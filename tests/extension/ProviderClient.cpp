#include "ProviderClient.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <map>
#include <stdexcept>

namespace velmora::test {
namespace {

constexpr const char* busName = "com.tarvenholt.Velmora.Speech.Provider";
constexpr const char* objectPath = "/com/tarvenholt/Velmora/Speech/Provider";
constexpr const char* interfaceName = "org.freedesktop.Speech.Provider";
constexpr std::chrono::seconds streamLimit{30};

using VoiceEntry = sdbus::Struct<std::string, std::string, std::string, std::uint64_t, std::vector<std::string>>;

}  // namespace

ProviderClient::ProviderClient()
    : connection_(sdbus::createSessionBusConnection()),
      proxy_(sdbus::createProxy(*connection_, busName, objectPath)) {}

std::vector<ProviderClient::Voice> ProviderClient::voices() {
    auto entries = proxy_->getProperty("Voices").onInterface(interfaceName).get<std::vector<VoiceEntry>>();
    std::vector<Voice> voices;
    for (auto& entry : entries) {
        voices.push_back({entry.get<0>(), entry.get<1>(), entry.get<2>(), entry.get<3>(), entry.get<4>()});
    }
    return voices;
}

std::string ProviderClient::name() {
    return proxy_->getProperty("Name").onInterface(interfaceName).get<std::string>();
}

int ProviderClient::startSpeaking(const Request& request) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error(std::strerror(errno));
    // The call hands over a copy of the write end; ours is closed in every case, so the stream
    // ends when the provider closes its copy.
    const sdbus::UnixFd writeEnd(ends[1], sdbus::adopt_fd);
    try {
        proxy_->callMethod("Synthesize")
            .onInterface(interfaceName)
            .withArguments(writeEnd, request.text, request.voice, request.pitch, request.rate, request.ssml,
                           std::string());
    } catch (...) {
        ::close(ends[0]);
        throw;
    }
    return ends[0];
}

std::optional<std::vector<std::int16_t>> ProviderClient::speak(const Request& request) {
    return readToEnd(startSpeaking(request));
}

std::optional<std::vector<std::int16_t>> ProviderClient::readToEnd(int fd) {
    const auto deadline = std::chrono::steady_clock::now() + streamLimit;
    std::vector<char> bytes;
    char buffer[16384];
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        pollfd source{fd, POLLIN, 0};
        if (left.count() <= 0 || ::poll(&source, 1, static_cast<int>(left.count())) <= 0) break;
        const ssize_t count = ::read(fd, buffer, sizeof buffer);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) {
            ::close(fd);
            if (count < 0) return std::nullopt;
            std::vector<std::int16_t> samples(bytes.size() / 2);
            std::memcpy(samples.data(), bytes.data(), samples.size() * 2);
            return samples;
        }
        bytes.insert(bytes.end(), buffer, buffer + count);
    }
    ::close(fd);
    return std::nullopt;
}

void setActivationEnvironment(const std::string& name, const std::string& value) {
    auto connection = sdbus::createSessionBusConnection();
    auto bus = sdbus::createProxy(*connection, "org.freedesktop.DBus", "/org/freedesktop/DBus");
    const std::map<std::string, std::string> environment{{name, value}};
    bus->callMethod("UpdateActivationEnvironment").onInterface("org.freedesktop.DBus").withArguments(environment);
}

}  // namespace velmora::test
