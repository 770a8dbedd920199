#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "selftest/SelfTestServices.h"

namespace velmora::test {

// One render a suite asked for.
struct RenderRequest {
    std::string text;
    std::string voice;
    float rate = 0;
    float pitch = 0;
    bool ssml = false;
    std::optional<std::filesystem::path> dumpTo;
};

using Engine = std::function<RenderResult(const RenderRequest&)>;

// Services whose renders are answered by `engine` and whose voice list is `voices`, appearing
// at the look numbered `firstListing` (1-based; earlier looks find nothing). Lines are collected.
struct FakeServices {
    FakeServices(Engine answers, std::vector<SpeechVoice> listed, int firstListed = 1)
        : engine(std::move(answers)), voices(std::move(listed)), firstListing(firstListed) {}

    Engine engine;
    std::vector<SpeechVoice> voices;
    int firstListing = 1;

    std::vector<std::string> lines;
    std::vector<RenderRequest> requests;
    std::vector<double> pauses;
    int looks = 0;
    int synthesizers = 0;
    std::filesystem::path temporaryDirectory = "/fake/tmp";

    SelfTestServices services();
};

inline SpeechVoice voice(std::string identifier, std::string name, std::string language) {
    return {std::move(identifier), std::move(name), std::move(language)};
}

}  // namespace velmora::test
