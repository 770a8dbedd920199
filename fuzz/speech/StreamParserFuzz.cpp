// Parses any bytes as a provider's audio stream. The first byte picks the format, the second
// the size of the reads the bytes arrive in; every frame handed out must be whole.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <span>

#include "speech/StreamFormat.h"
#include "speech/StreamParser.h"

namespace {

constexpr const char* formats[] = {
    "audio/x-spiel,format=S16LE,channels=1,rate=22050",
    "audio/x-spiel,format=F32LE,channels=2,rate=16000",
    "audio/x-raw,format=S16LE,channels=1,rate=22050",
    "audio/x-raw,format=F32LE,channels=6,rate=48000",
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) return 0;
    const auto format = velmora::StreamFormat::parse(formats[data[0] % std::size(formats)]);
    if (!format) std::abort();  // the table above must stay readable
    const std::size_t piece = data[1] % 64 + 1;
    std::span bytes(reinterpret_cast<const std::byte*>(data + 2), size - 2);
    velmora::StreamParser parser(*format);
    while (!bytes.empty()) {
        const std::size_t taken = std::min(piece, bytes.size());
        const auto buffer = parser.feed(bytes.first(taken));
        if (buffer.samples.size() % static_cast<std::size_t>(format->channels) != 0) std::abort();
        bytes = bytes.subspan(taken);
    }
    parser.finish();
    return 0;
}
