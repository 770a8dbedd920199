#pragma once

#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

namespace velmora::test {

// The test provider's last Synthesize call: text, voice, pitch, rate, whether SSML, language.
using ProviderRequest = std::tuple<std::string, std::string, double, double, bool, std::string>;

// The test provider's own measurement of its last utterance.
struct ProviderTiming {
    std::uint64_t firstAudioMicros = 0;
    std::uint64_t totalMicros = 0;
};

// Calls the test provider's control interface on the session bus.
ProviderRequest lastRequest(const std::string& busName);
ProviderTiming lastTiming(const std::string& busName);
void addVoice(const std::string& busName, const std::string& name, const std::string& identifier,
              const std::string& format, const std::vector<std::string>& languages);

}  // namespace velmora::test
