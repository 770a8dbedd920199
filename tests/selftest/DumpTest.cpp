#include <gtest/gtest.h>
#include <sndfile.h>

#include <chrono>
#include <vector>

#include "selftest/BufferCollector.h"
#include "selftest/DumpFiles.h"
#include "selftest/ScriptedRenderer.h"
#include "support/Files.h"

namespace velmora {
namespace {

using test::endMarker;
using test::isOpenInThisProcess;
using test::pcm;
using test::readSoundFile;
using test::ScriptedRenderer;
using namespace std::chrono_literals;

constexpr int cafFloat = SF_FORMAT_CAF | SF_FORMAT_FLOAT;

std::vector<float> joined(std::initializer_list<std::vector<float>> parts) {
    std::vector<float> all;
    for (const auto& part : parts) all.insert(all.end(), part.begin(), part.end());
    return all;
}

TEST(DumpTest, FileHoldsEveryBufferBeforeTheEndMarkerAndIsClosedWithTheResult) {
    test::TempDir temp;
    const auto file = temp / "render.caf";
    const std::vector<float> first{0.5f, -0.5f, 0.25f, -0.25f}, second{0.125f, 1.0f};
    ScriptedRenderer renderer({pcm(first, 2, 16000), pcm(second, 2, 16000), endMarker()}, {pcm({0.9f, 0.9f}, 2, 16000)});
    const auto collector = BufferCollector::create(file);
    renderer.write(Utterance{}, collector->callback());

    const auto result = collector->result(1h);
    // The renderer still holds the callback, and so the collector, at this point.
    EXPECT_FALSE(isOpenInThisProcess(file));
    const auto sound = readSoundFile(file);
    EXPECT_EQ(sound.format, cafFloat);
    EXPECT_EQ(sound.channels, 2);
    EXPECT_EQ(sound.sampleRate, 16000);
    EXPECT_EQ(sound.samples, joined({first, second}));
    EXPECT_DOUBLE_EQ(result.seconds, 3 / 16000.0);

    renderer.releaseAndJoin();
    EXPECT_EQ(readSoundFile(file).samples, joined({first, second}));
}

TEST(DumpTest, TimedOutRenderClosesTheDumpAndLateBuffersLeaveItAlone) {
    test::TempDir temp;
    const auto file = temp / "render.caf";
    const std::vector<float> early{0.5f, 0.25f};
    ScriptedRenderer renderer({pcm(early)}, {pcm({0.9f}), endMarker()});
    const auto collector = BufferCollector::create(file);
    renderer.write(Utterance{}, collector->callback());

    collector->result(50ms);
    EXPECT_FALSE(isOpenInThisProcess(file));
    EXPECT_EQ(readSoundFile(file).samples, early);

    renderer.releaseAndJoin();
    EXPECT_EQ(readSoundFile(file).samples, early);
}

TEST(DumpTest, BuffersAfterATimeoutThatSawNoAudioCreateNoFile) {
    test::TempDir temp;
    const auto file = temp / "render.caf";
    ScriptedRenderer renderer({}, {pcm({0.5f}), endMarker()});
    const auto collector = BufferCollector::create(file);
    renderer.write(Utterance{}, collector->callback());

    collector->result(20ms);
    renderer.releaseAndJoin();
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST(DumpTest, FileKeepsTheFormatOfItsFirstBuffer) {
    test::TempDir temp;
    const auto file = temp / "render.caf";
    const auto collector = BufferCollector::create(file);
    const auto callback = collector->callback();
    callback(pcm({0.1f, 0.2f}, 1, 22050));
    callback(pcm({0.3f}, 1, 16000));
    callback(pcm({0.4f, 0.4f}, 2, 22050));
    callback(pcm({0.5f}, 1, 22050));
    callback(endMarker());

    const auto result = collector->result(1h);
    const auto sound = readSoundFile(file);
    EXPECT_EQ(sound.channels, 1);
    EXPECT_EQ(sound.sampleRate, 22050);
    EXPECT_EQ(sound.samples, (std::vector<float>{0.1f, 0.2f, 0.5f}));
    EXPECT_DOUBLE_EQ(result.seconds, 5 / 22050.0);  // measurements count every buffer
}

TEST(DumpTest, FileThatCannotBeCreatedIsTriedAgainWithTheNextBuffer) {
    test::TempDir temp;
    const auto file = temp / "later" / "render.caf";
    const auto collector = BufferCollector::create(file);
    const auto callback = collector->callback();
    callback(pcm({0.1f}));
    EXPECT_FALSE(std::filesystem::exists(file));
    std::filesystem::create_directory(temp / "later");
    callback(pcm({0.2f}));
    callback(endMarker());

    const auto result = collector->result(1h);
    EXPECT_EQ(readSoundFile(file).samples, std::vector<float>{0.2f});
    EXPECT_DOUBLE_EQ(result.seconds, 2 / 22050.0);
    EXPECT_EQ(result.peak, 0.2f);
}

TEST(DumpTest, ExistingFileIsReplaced) {
    test::TempDir temp;
    const auto file = temp / "render.caf";
    test::writeFile(file, std::string(100000, 'x'));
    const auto collector = BufferCollector::create(file);
    const auto callback = collector->callback();
    callback(pcm({0.75f}, 1, 8000));
    callback(endMarker());
    collector->result(1h);

    const auto sound = readSoundFile(file);
    EXPECT_EQ(sound.format, cafFloat);
    EXPECT_EQ(sound.samples, std::vector<float>{0.75f});
    EXPECT_LT(std::filesystem::file_size(file), 100000u);
}

}  // namespace
}  // namespace velmora
