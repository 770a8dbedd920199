#pragma once

#include <sdbus-c++/sdbus-c++.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmora::test {

// A minimal client of the reference voice provider on the session bus.
class ProviderClient {
public:
    struct Voice {
        std::string name;
        std::string identifier;
        std::string format;
        std::uint64_t features = 0;
        std::vector<std::string> languages;
    };
    struct Request {
        std::string text;
        std::string voice;
        double pitch = 1.0;
        double rate = 1.0;
        bool ssml = false;
    };

    ProviderClient();

    std::vector<Voice> voices();
    std::string name();

    // Asks for `request` and reads the stream to its end: the raw S16LE samples. Absent when the
    // stream did not end within the time limit.
    std::optional<std::vector<std::int16_t>> speak(const Request& request);
    // Asks for `request` and returns the read end of its pipe without reading it.
    int startSpeaking(const Request& request);
    // Reads a pipe to its end; absent when it did not end within the time limit.
    static std::optional<std::vector<std::int16_t>> readToEnd(int fd);

private:
    std::unique_ptr<sdbus::IConnection> connection_;
    std::unique_ptr<sdbus::IProxy> proxy_;
};

// Makes services that the session bus starts from now on inherit `name`=`value`.
void setActivationEnvironment(const std::string& name, const std::string& value);

}  // namespace velmora::test
