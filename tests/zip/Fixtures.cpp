#include "zip/Fixtures.h"

#include <nlohmann/json.hpp>
#include <random>
#include <stdexcept>
#include <zlib.h>

#include "support/Files.h"
#include "support/Process.h"

namespace velmora::test {
namespace {

// Streamed archives go through a writer that cannot seek, which makes zipfile write data
// descriptors after each entry.
constexpr const char* pythonWriter = R"(
import io, json, sys, zipfile
spec = json.loads(sys.argv[1])
class Unseekable(io.RawIOBase):
    def __init__(self, f): self.f = f
    def writable(self): return True
    def seekable(self): return False
    def write(self, b): return self.f.write(b)
with open(spec["archive"], "wb") as out:
    target = Unseekable(out) if spec["streamed"] else out
    with zipfile.ZipFile(target, "w") as archive:
        for entry in spec["entries"]:
            info = zipfile.ZipInfo(entry["name"])
            if entry["name"].endswith("/"):
                archive.writestr(info, b"")
                continue
            info.compress_type = zipfile.ZIP_STORED if entry["stored"] else zipfile.ZIP_DEFLATED
            with open(spec["folder"] + "/" + entry["name"], "rb") as source:
                archive.writestr(info, source.read())
        archive.comment = b"c" * spec["comment"]
)";

void run(const std::string& program, const std::vector<std::string>& arguments) {
    const auto result = runProcess(program, arguments);
    if (result.exitStatus != 0) throw std::runtime_error(program + " failed: " + result.err);
}

}  // namespace

std::vector<std::byte> readBytes(const std::filesystem::path& file) {
    const std::string text = readFile(file);
    const auto bytes = asBytes(text);
    return {bytes.begin(), bytes.end()};
}

std::span<const std::byte> asBytes(std::string_view text) {
    return {reinterpret_cast<const std::byte*>(text.data()), text.size()};
}

std::string asText(std::span<const std::byte> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::string patterned(std::size_t size, unsigned seed) {
    std::mt19937 random(seed);
    std::string text;
    text.reserve(size);
    static constexpr std::string_view words[] = {"voice ", "unit ", "pitch ", "formant ", "lexicon ", "\x01\x02"};
    while (text.size() < size) {
        if (random() % 3 == 0) {
            text.push_back(static_cast<char>(random() & 0xFF));
        } else {
            text.append(words[random() % std::size(words)]);
        }
    }
    text.resize(size);
    return text;
}

std::string rawDeflate(std::string_view data, int level) {
    z_stream stream{};
    deflateInit2(&stream, level, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY);
    std::string output(deflateBound(&stream, data.size()), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
    stream.avail_in = static_cast<uInt>(data.size());
    stream.next_out = reinterpret_cast<Bytef*>(output.data());
    stream.avail_out = static_cast<uInt>(output.size());
    if (deflate(&stream, Z_FINISH) != Z_STREAM_END) throw std::runtime_error("deflate failed");
    output.resize(stream.total_out);
    deflateEnd(&stream);
    return output;
}

std::uint32_t referenceCrc(std::string_view data) {
    return static_cast<std::uint32_t>(
        ::crc32(0, reinterpret_cast<const Bytef*>(data.data()), static_cast<uInt>(data.size())));
}

void writeTree(const std::filesystem::path& folder, const std::vector<SourceFile>& files) {
    for (const auto& file : files) {
        if (file.name.ends_with('/')) {
            std::filesystem::create_directories(folder / file.name);
        } else {
            writeFile(folder / file.name, file.data);
        }
    }
}

void pythonZip(const std::filesystem::path& archive, const std::filesystem::path& folder,
               const std::vector<SourceFile>& files, PythonZipOptions options) {
    nlohmann::json spec = {{"archive", archive.string()}, {"folder", folder.string()},
                           {"comment", options.commentLength}, {"streamed", options.streamed},
                           {"entries", nlohmann::json::array()}};
    for (const auto& file : files) spec["entries"].push_back({{"name", file.name}, {"stored", file.stored}});
    run("/usr/bin/env", {"python3", "-c", pythonWriter, spec.dump()});
}

void infoZip(const std::filesystem::path& archive, const std::filesystem::path& folder) {
    run("/bin/sh", {"-c", "cd \"$1\" && zip -q -r \"$2\" .", "sh", folder.string(), archive.string()});
}

void infoZipFromStdin(const std::filesystem::path& archive, const std::filesystem::path& input) {
    run("/bin/sh", {"-c", "cat \"$2\" | zip -q \"$1\" -", "sh", archive.string(), input.string()});
}

}  // namespace velmora::test
