// Throughput of the pieces of an unpack, each against its alternative on the same bytes.
#include <benchmark/benchmark.h>
#include <zlib.h>

#include <cstdint>
#include <random>
#include <vector>

#include "zip/Crc32.h"
#include "zip/ZipReader.h"
#include "zip/ZlibInflate.h"

namespace {

constexpr std::size_t sampleSize = 32 << 20;

// Moderately compressible bytes, like voice data: a skewed alphabet with local repeats.
const std::vector<std::byte>& sample() {
    static const std::vector<std::byte> bytes = [] {
        std::mt19937 random(7);
        std::geometric_distribution<int> symbol(0.02);
        std::vector<std::byte> data;
        data.reserve(sampleSize);
        while (data.size() < sampleSize) {
            if (data.size() > 4096 && random() % 32 == 0) {
                const std::size_t from = data.size() - 1 - random() % 4000;
                const std::size_t length = 16 + random() % 200;
                for (std::size_t i = 0; i < length; ++i) data.push_back(data[from + i]);
            } else {
                data.push_back(static_cast<std::byte>(symbol(random) & 0xFF));
            }
        }
        data.resize(sampleSize);
        return data;
    }();
    return bytes;
}

const std::vector<std::byte>& deflated() {
    static const std::vector<std::byte> bytes = [] {
        const auto& input = sample();
        z_stream stream{};
        deflateInit2(&stream, 6, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY);
        std::vector<std::byte> output(deflateBound(&stream, input.size()));
        stream.next_in = const_cast<Bytef*>(reinterpret_cast<const Bytef*>(input.data()));
        stream.avail_in = static_cast<uInt>(input.size());
        stream.next_out = reinterpret_cast<Bytef*>(output.data());
        stream.avail_out = static_cast<uInt>(output.size());
        deflate(&stream, Z_FINISH);
        output.resize(stream.total_out);
        deflateEnd(&stream);
        return output;
    }();
    return bytes;
}

template <auto inflateFunction>
void inflateThroughput(benchmark::State& state) {
    const auto& stream = deflated();
    for (auto _ : state) {
        std::size_t produced = 0;
        inflateFunction(stream, [&](std::span<const std::byte> piece) { produced += piece.size(); });
        benchmark::DoNotOptimize(produced);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * sampleSize));
}

template <auto crcFunction>
void crcThroughput(benchmark::State& state) {
    const auto& bytes = sample();
    for (auto _ : state) benchmark::DoNotOptimize(crcFunction(bytes, 0xFFFFFFFF));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * sampleSize));
}

void isalInflate(std::span<const std::byte> s, const std::function<void(std::span<const std::byte>)>& e) {
    velmora::ZipReader::inflate(s, e);
}
void zlibInflate(std::span<const std::byte> s, const std::function<void(std::span<const std::byte>)>& e) {
    velmora::zip::zlibInflate(s, e);
}
std::uint32_t tableCrc(std::span<const std::byte> b, std::uint32_t r) {
    return velmora::ZipReader::crc32(b, r);
}
std::uint32_t fastCrc(std::span<const std::byte> b, std::uint32_t r) { return velmora::zip::fastCrc32(b, r); }

BENCHMARK(inflateThroughput<isalInflate>)->Name("inflate/isa-l")->Unit(benchmark::kMillisecond);
BENCHMARK(inflateThroughput<zlibInflate>)->Name("inflate/zlib")->Unit(benchmark::kMillisecond);
BENCHMARK(crcThroughput<fastCrc>)->Name("crc32/fast")->Unit(benchmark::kMillisecond);
BENCHMARK(crcThroughput<tableCrc>)->Name("crc32/table")->Unit(benchmark::kMillisecond);

}  // namespace
