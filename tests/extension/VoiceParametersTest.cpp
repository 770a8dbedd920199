#include "VoiceParameters.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <set>

namespace velmora::provider {
namespace {

constexpr std::uint64_t fingerprint = 0x9E3779B97F4A7C15ull;

TEST(VoiceParametersTest, RequestValuesThatAreNotPositiveAndFiniteCountAsNormal) {
    const auto normal = VoiceParameters::derive(fingerprint, "female", 1.0, 1.0);
    for (const double odd : {0.0, -1.0, std::nan(""), std::numeric_limits<double>::infinity()}) {
        EXPECT_EQ(VoiceParameters::derive(fingerprint, "female", odd, odd), normal) << odd;
    }
}

TEST(VoiceParametersTest, RateMultipliesTheSpeedWithinTheEnginesLimits) {
    const int normal = VoiceParameters::derive(fingerprint, "female", 1.0, 1.0).wordsPerMinute;
    EXPECT_GE(normal, 163);
    EXPECT_LE(normal, 187);
    EXPECT_NEAR(VoiceParameters::derive(fingerprint, "female", 2.0, 1.0).wordsPerMinute, 2 * normal, 1);
    EXPECT_EQ(VoiceParameters::derive(fingerprint, "female", 0.1, 1.0).wordsPerMinute, 80);
    EXPECT_EQ(VoiceParameters::derive(fingerprint, "female", 100.0, 1.0).wordsPerMinute, 450);
}

TEST(VoiceParametersTest, PitchMultipliesTheBasePitchClampedToHalfAndDouble) {
    const int base = VoiceParameters::derive(fingerprint, "female", 1.0, 1.0).pitch;
    EXPECT_GE(base, 40);
    EXPECT_LE(base, 60);
    EXPECT_EQ(VoiceParameters::derive(fingerprint, "female", 1.0, 1.4).pitch, std::lround(base * 1.4));
    EXPECT_EQ(VoiceParameters::derive(fingerprint, "female", 1.0, 0.1).pitch, std::lround(base * 0.5));
    EXPECT_EQ(VoiceParameters::derive(fingerprint, "female", 1.0, 9.0).pitch, std::min(100L, std::lround(base * 2.0)));
}

TEST(VoiceParametersTest, TheDataChoosesTheVoiceAndTheGenderItsVariants) {
    std::set<std::string> variants;
    std::set<int> pitches;
    for (std::uint64_t data = 0; data < 64; ++data) {
        const auto female = VoiceParameters::derive(data * fingerprint, "female", 1.0, 1.0);
        const auto male = VoiceParameters::derive(data * fingerprint, "male", 1.0, 1.0);
        EXPECT_EQ(female.variant.front(), 'f');
        EXPECT_EQ(male.variant.front(), 'm');
        variants.insert(female.variant);
        variants.insert(male.variant);
        pitches.insert(female.pitch);
    }
    EXPECT_EQ(variants.size(), 12u);
    EXPECT_GT(pitches.size(), 10u);
}

}  // namespace
}  // namespace velmora::provider
