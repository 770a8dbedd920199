#include <gtest/gtest.h>

#include "speech/StreamFormat.h"

namespace velmora {
namespace {

using Sample = StreamFormat::Sample;

TEST(StreamFormatTest, ReadsTheFormatsProvidersName) {
    struct Case {
        const char* text;
        StreamFormat expected;
    };
    const std::vector<Case> cases{
        {"audio/x-raw,format=S16LE,channels=1,rate=22050", {false, Sample::s16le, 1, 22050}},
        {"audio/x-spiel,format=F32LE,channels=2,rate=48000", {true, Sample::f32le, 2, 48000}},
        {"audio/x-raw, format=(string)F32LE, rate=(int)16000, channels=(int)6", {false, Sample::f32le, 6, 16000}},
        {"audio/x-raw,format=S16LE,rate=8000", {false, Sample::s16le, 1, 8000}},
        {"audio/x-raw,format=S16LE,layout=interleaved,channels=2,rate=11025", {false, Sample::s16le, 2, 11025}},
    };
    for (const auto& c : cases) {
        const auto format = StreamFormat::parse(c.text);
        ASSERT_TRUE(format) << c.text;
        EXPECT_EQ(*format, c.expected) << c.text;
    }
}

TEST(StreamFormatTest, RefusesWhatItCannotRead) {
    for (const char* text : {
             "", "audio/mpeg,format=S16LE,rate=22050", "audio/x-raw,format=U8,channels=1,rate=22050",
             "audio/x-raw,format=S16BE,rate=22050", "audio/x-raw,channels=1,rate=22050",
             "audio/x-raw,format=S16LE,channels=1", "audio/x-raw,format=S16LE,channels=0,rate=22050",
             "audio/x-raw,format=S16LE,channels=65,rate=22050", "audio/x-raw,format=S16LE,rate=0",
             "audio/x-raw,format=S16LE,rate=22050Hz", "audio/x-raw,format=S16LE,rate=-1",
             "audio/x-raw,format=S16LE,rate", "audio/x-raw,format=S16LE,rate=99999999999",
         }) {
        EXPECT_FALSE(StreamFormat::parse(text)) << text;
    }
}

}  // namespace
}  // namespace velmora
