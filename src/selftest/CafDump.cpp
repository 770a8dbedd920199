#include "selftest/CafDump.h"

#include <sndfile.h>

#include <climits>
#include <cmath>
#include <optional>

namespace velmora {
namespace {

// libsndfile keeps the rate as a whole number of hertz; a rate it cannot hold gives no file.
std::optional<int> wholeHertz(double sampleRate) {
    if (!std::isfinite(sampleRate) || sampleRate < 1 || sampleRate > INT_MAX) return std::nullopt;
    return static_cast<int>(std::lround(sampleRate));
}

}  // namespace

std::unique_ptr<CafDump> CafDump::create(const std::filesystem::path& file, const PcmBuffer& first) {
    const auto hertz = wholeHertz(first.sampleRate);
    if (!hertz || first.channels <= 0) return nullptr;
    SF_INFO info{};
    info.samplerate = *hertz;
    info.channels = first.channels;
    info.format = SF_FORMAT_CAF | SF_FORMAT_FLOAT;
    SNDFILE* handle = sf_open(file.c_str(), SFM_WRITE, &info);
    if (handle == nullptr) return nullptr;
    return std::unique_ptr<CafDump>(new CafDump(handle, first.channels, *hertz));
}

CafDump::CafDump(SNDFILE* file, int channels, int sampleRate)
    : file_(file), channels_(channels), sampleRate_(sampleRate) {}

CafDump::~CafDump() { sf_close(file_); }

void CafDump::append(const PcmBuffer& buffer) {
    if (buffer.channels != channels_ || wholeHertz(buffer.sampleRate) != sampleRate_) return;
    sf_writef_float(file_, buffer.samples.data(), static_cast<sf_count_t>(buffer.frameCount()));
}

}  // namespace velmora
