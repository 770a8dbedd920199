#include "zip/ZlibInflate.h"

#include <zlib.h>

#include "zip/InflateSteps.h"

namespace velmora::zip {
namespace {

class ZlibDecoder {
public:
    explicit ZlibDecoder(std::span<const std::byte> input) : feed_(input) {
        // Negative window bits: raw DEFLATE, no zlib header or Adler-32 trailer.
        if (inflateInit2(&stream_, -15) != Z_OK) throw ZipReader::Failure::corrupt("decompressor");
    }
    ~ZlibDecoder() { inflateEnd(&stream_); }
    ZlibDecoder(const ZlibDecoder&) = delete;
    ZlibDecoder& operator=(const ZlibDecoder&) = delete;

    StepResult step(std::span<std::byte> output) {
        bool consumed = false;
        if (stream_.avail_in == 0) {
            const auto piece = feed_.next();
            stream_.next_in = const_cast<Bytef*>(reinterpret_cast<const Bytef*>(piece.data()));
            stream_.avail_in = static_cast<uInt>(piece.size());
            consumed = !piece.empty();
        }
        stream_.next_out = reinterpret_cast<Bytef*>(output.data());
        stream_.avail_out = static_cast<uInt>(output.size());
        const int status = ::inflate(&stream_, Z_FINISH);
        const std::size_t produced = output.size() - stream_.avail_out;
        if (status == Z_STREAM_END) return {StepStatus::ended, produced, consumed};
        // With Z_FINISH, Z_BUF_ERROR only means "not done yet": the output filled or the input ran out.
        if (status == Z_OK || status == Z_BUF_ERROR) return {StepStatus::progressing, produced, consumed};
        return {StepStatus::failed, produced, consumed};
    }

private:
    z_stream stream_{};
    InputFeed feed_;
};

}  // namespace

void zlibInflate(std::span<const std::byte> stream,
                 const std::function<void(std::span<const std::byte>)>& emit) {
    ZlibDecoder decoder(stream);
    runInflateSteps(decoder, emit);
}

}  // namespace velmora::zip
