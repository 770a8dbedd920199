#pragma once

#include <filesystem>
#include <vector>

namespace velmora::test {

// A sound file as libsndfile reads it back.
struct SoundFile {
    int format = 0;
    int channels = 0;
    int sampleRate = 0;
    std::vector<float> samples;  // interleaved
};

// Reads the whole file; throws when libsndfile cannot open it.
SoundFile readSoundFile(const std::filesystem::path& file);

// Whether a descriptor of this process still refers to the file.
bool isOpenInThisProcess(const std::filesystem::path& file);

}  // namespace velmora::test
