#include "selftest/DumpFiles.h"

#include <sndfile.h>

#include <stdexcept>

namespace velmora::test {

SoundFile readSoundFile(const std::filesystem::path& file) {
    SF_INFO info{};
    SNDFILE* handle = sf_open(file.c_str(), SFM_READ, &info);
    if (handle == nullptr) throw std::runtime_error("cannot read " + file.string() + ": " + sf_strerror(nullptr));
    SoundFile sound{info.format, info.channels, info.samplerate, {}};
    sound.samples.resize(static_cast<std::size_t>(info.frames * info.channels));
    const auto read = sf_readf_float(handle, sound.samples.data(), info.frames);
    sf_close(handle);
    sound.samples.resize(static_cast<std::size_t>(read * info.channels));
    return sound;
}

bool isOpenInThisProcess(const std::filesystem::path& file) {
    const auto target = std::filesystem::weakly_canonical(file);
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code error;
        const auto linked = std::filesystem::read_symlink(entry.path(), error);
        if (!error && linked == target) return true;
    }
    return false;
}

}  // namespace velmora::test
