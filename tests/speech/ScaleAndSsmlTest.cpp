#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "speech/ProviderScale.h"
#include "speech/Ssml.h"

namespace velmora {
namespace {

TEST(ProviderScaleTest, RatesMapGeometricallyAroundNormal) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    const std::vector<std::pair<float, double>> cases{
        {0.0f, 0.25}, {0.25f, 0.5}, {0.5f, 1.0}, {0.75f, 2.0}, {1.0f, 4.0},
        {-3.0f, 0.25}, {7.0f, 4.0}, {nan, 1.0}, {infinity, 1.0},
    };
    for (const auto& [rate, expected] : cases) EXPECT_NEAR(providerRate(rate), expected, 1e-12) << rate;
}

TEST(ProviderScaleTest, PitchPassesThroughUnlessItIsNoPitch) {
    EXPECT_DOUBLE_EQ(providerPitch(1.0f), 1.0);
    EXPECT_DOUBLE_EQ(providerPitch(1.4f), double{1.4f});
    EXPECT_DOUBLE_EQ(providerPitch(0.5f), 0.5);
    for (float bad : {0.0f, -1.0f, std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}) {
        EXPECT_DOUBLE_EQ(providerPitch(bad), 1.0) << bad;
    }
}

TEST(SsmlTest, AcceptsOnlyWellFormedXmlWithASpeakRoot) {
    struct Case {
        const char* text;
        bool accepted;
    };
    const std::vector<Case> cases{
        {"<speak>Hello</speak>", true},
        {"<?xml version=\"1.0\"?>\n<speak version=\"1.1\" xmlns=\"http://www.w3.org/2001/10/synthesis\" "
         "xml:lang=\"en-US\">Hello <break time=\"1s\"/> <prosody rate=\"slow\">there</prosody></speak>",
         true},
        {"<!-- greeting --><speak>Hi</speak>\n", true},
        {"Hello", false},
        {"", false},
        {"<speak>Hello", false},
        {"<speak>Hello</Speak>", false},
        {"<voice>Hello</voice>", false},
        {"<SPEAK>Hello</SPEAK>", false},
        {"<speak>a</speak><speak>b</speak>", false},
        {"<speak/><extra/>", false},
        {"text<speak>a</speak>", false},
    };
    for (const auto& c : cases) EXPECT_EQ(isAcceptableSsml(c.text), c.accepted) << c.text;
}

}  // namespace
}  // namespace velmora
