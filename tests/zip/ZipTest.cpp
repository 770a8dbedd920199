// The zip reader: CRC-32 and raw DEFLATE, the fast paths against their references on the same
// bytes; archives made byte by byte, damaged in every way the reader must notice, each with its
// message; and whole archives made by real writers unpacked, hostile ones refused before writing.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <zlib.h>

#include <fstream>
#include <map>
#include <optional>
#include <random>

#include "support/Files.h"
#include "support/Process.h"
#include "zip/Crc32.h"
#include "zip/EarlyUnpack.h"
#include "zip/MappedFile.h"
#include "zip/ZipReader.h"
#include "zip/ZlibInflate.h"

namespace velmora::test {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

constexpr std::size_t step = ZipReader::stepSize;

std::span<const std::byte> asBytes(std::string_view text) { return std::as_bytes(std::span(text)); }
// Deterministic, moderately compressible content.
std::string patterned(std::size_t size, unsigned seed) {
    std::mt19937 random(seed);
    std::string text(size, '\0');
    for (auto& c : text)
        c = static_cast<char>(random() % 3 == 0 ? random() : "voice unit pitch "[random() % 17]);
    return text;
}
// Raw DEFLATE of `data` by zlib (level 0 gives stored blocks).
std::string rawDeflate(std::string_view data, int level = 6) {
    uLongf size = compressBound(data.size());
    std::string wrapped(size, '\0');
    compress2(reinterpret_cast<Bytef*>(wrapped.data()), &size, reinterpret_cast<const Bytef*>(data.data()),
              data.size(), level);
    return wrapped.substr(2, size - 6);  // without the zlib header and checksum
}

// Each value as a little-endian field of its width in bytes.
std::string little(std::initializer_list<std::pair<std::size_t, int>> fields) {
    std::string bytes;
    for (const auto& [value, width] : fields)
        for (int i = 0; i < width; ++i) bytes.push_back(static_cast<char>((value >> (8 * i)) & 0xFF));
    return bytes;
}

// One entry of an archive written byte by byte, for the cases no real writer produces.
struct HandEntry {
    std::string name;     // raw name bytes
    std::string content;  // before compression
    int level = -1;       // -1: stored, else deflated by zlib at this level
};
struct HandZip {
    std::string bytes;
    std::size_t directory = 0;  // where the central directory starts
    std::size_t end = 0;        // where the end record starts
};
// Local headers and data, central records, then an end record.
HandZip handZip(const std::vector<HandEntry>& entries) {
    HandZip zip;
    std::string central;
    for (const auto& e : entries) {
        const std::string data = e.level < 0 ? e.content : rawDeflate(e.content, e.level);
        const auto crc = crc32(0, reinterpret_cast<const Bytef*>(e.content.data()), e.content.size());
        // Alike in both headers: version needed, flags, method, time and date, CRC-32, sizes, name
        // and extra field lengths.
        // clang-format off
        const std::string fields = little({{20, 2}, {0, 2}, {e.level < 0 ? 0U : 8U, 2}, {0, 4}, {crc, 4},
                                           {data.size(), 4}, {e.content.size(), 4}, {e.name.size(), 2}, {0, 2}});
        // clang-format on
        // Signature, version made by, the fields, comment length, disk, attributes, local header offset.
        central += little({{0x02014B50, 4}, {20, 2}}) + fields + std::string(10, '\0') +
                   little({{zip.bytes.size(), 4}}) + e.name;
        zip.bytes += little({{0x04034B50, 4}}) + fields + e.name + data;
    }
    zip.directory = zip.bytes.size();
    zip.end = zip.directory + central.size();
    // Signature, disks, records on this disk and in all, directory size and offset, comment length.
    // clang-format off
    zip.bytes += central + little({{0x06054B50, 4}, {0, 4}, {entries.size(), 2}, {entries.size(), 2},
                                   {central.size(), 4}, {zip.directory, 4}, {0, 2}});
    // clang-format on
    return zip;
}

// Offsets of little-endian fields in a central record, a local header and the end record.
enum Field : std::size_t {
    centralFlags = 8,
    centralMethod = 10,
    centralCompressed = 20,
    centralUncompressed = 24,
    centralNameLength = 28,
    centralLocalOffset = 42,
    localExtraLength = 28,
    endDisk = 4,
    endTotal = 10,
    endOffset = 16,
};
// `bytes` with the `width`-byte field at `at` set to `value`.
std::string patched(std::string bytes, std::size_t at, std::uint32_t value, int width = 4) {
    return bytes.replace(at, static_cast<std::size_t>(width), little({{value, width}}));
}

// The fast register is checked further on long inputs by every entry the other tests write.
TEST(ZipCrc, TableAndFastRegistersGiveTheCheckValueFromPieces) {
    for (const auto crc32 : {ZipReader::crc32, zip::fastCrc32})
        EXPECT_EQ(~crc32(asBytes("56789"), crc32(asBytes("1234"), 0xFFFFFFFF)), 0xCBF43926U);
}

// What a decoder made of a stream: the size of each piece it emitted, the output, the failure text.
struct Outcome {
    std::vector<std::size_t> pieces;
    std::string output;
    std::string failure;
};

template <class Inflate>
Outcome decode(Inflate inflate, std::string_view stream) {
    Outcome outcome;
    try {
        inflate(asBytes(stream), [&](std::span<const std::byte> piece) {
            outcome.pieces.push_back(piece.size());
            outcome.output.append(reinterpret_cast<const char*>(piece.data()), piece.size());
        });
    } catch (const ZipReader::Failure& failure) {
        outcome.failure = failure.what();
    }
    return outcome;
}

TEST(ZipInflate, DecodesLikeZlibInStepsOfFourMiB) {
    const std::string large = patterned(2 * step + 12345, 9);
    const std::string small = patterned(300'000, 4);
    const std::string good = rawDeflate(small);
    const std::string fixed = "fixed Huffman codes, fixed Huffman codes";
    ASSERT_EQ(rawDeflate(fixed)[0] & 6, 2);  // block type 01: zlib chose the fixed codes
    auto flipped = [&](std::size_t at) { return good.substr(0, at) + char(~good[at]) + good.substr(at + 1); };
    const std::string noProgress = "The archive is damaged (decompressor made no progress).";
    const std::string badData = "The archive is damaged (compressed data).";
    struct Case {
        const char* label;
        std::string stream;
        std::optional<std::string> failure;  // none: whatever zlib says
    };
    const std::vector<Case> cases = {
        {"empty content", rawDeflate(""), ""},
        {"dynamic Huffman", good, ""},
        {"fixed Huffman", rawDeflate(fixed), ""},
        {"stored blocks", rawDeflate(small, 0), ""},
        {"bytes after the end are ignored", good + "trailing", ""},
        {"over 8 MiB of output", rawDeflate(large), ""},
        {"exactly 4 MiB", rawDeflate(large.substr(0, step)), ""},
        {"empty stream", "", noProgress},
        {"reserved block type", "\x07\x00\x00\x00", badData},
        {"stored block with a bad length check", std::string("\x01\x05\x00\x00\x00hello", 10), badData},
        {"distance before the start", std::string("\x03\x02\x00", 3), badData},
        {"cut before the last byte", good.substr(0, good.size() - 1), noProgress},
        {"flipped first byte", flipped(0), std::nullopt},
        {"flipped byte in the middle", flipped(good.size() / 2), std::nullopt},
        {"flipped last byte", flipped(good.size() - 1), std::nullopt},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        const Outcome isal = decode(ZipReader::inflate, c.stream);
        const Outcome zlib = decode(zip::zlibInflate, c.stream);
        EXPECT_EQ(isal.failure, c.failure.value_or(zlib.failure));
        EXPECT_EQ(isal.failure, zlib.failure);
        // A flip may still decode to something (then only the CRC-32 can tell): the same thing. What
        // came out before a failure may differ; the writer decodes a failing entry again with zlib.
        if (isal.failure.empty()) {
            EXPECT_TRUE(isal.output == zlib.output && isal.pieces == zlib.pieces);
        }
    }
    const std::vector<std::size_t> steps = {step, step, 12345};
    EXPECT_EQ(decode(ZipReader::inflate, rawDeflate(large)).pieces, steps);
}

// The names of the entries, each written to `file` in turn, or the text of the first failure.
std::string outcome(const std::string& bytes, const fs::path& file) {
    std::string names;
    try {
        for (const auto& entry : ZipReader::entries(asBytes(bytes))) {
            ZipReader::write(entry, asBytes(bytes), file);
            names += entry.name + ";";
        }
    } catch (const ZipReader::Failure& failure) {
        return failure.what();
    }
    return names;
}

// `zip` with a field of its first central record changed.
std::string central(const HandZip& zip, std::size_t field, std::uint32_t value, int width = 4) {
    return patched(zip.bytes, zip.directory + field, value, width);
}

TEST(ZipDamaged, EachArchiveGivesItsNamesOrItsMessage) {
    const HandZip good = handZip({{"a.txt", "alpha"}, {"b.txt", patterned(3000, 1), 6}, {"dir/", ""}});
    const HandZip none = handZip({}), letters = handZip({{"f.dat", "abcdefgh"}});
    const HandZip bomb = handZip({{"bomb.dat", std::string(10'000'000, 0), 6}});
    // A zip64 locator before the end record, whose directory offset says "see the zip64 record".
    std::string zip64 = patched(good.bytes, good.end + endOffset, 0xFFFFFFFF);
    zip64.insert(good.end, std::string("PK\x06\x07", 4) + std::string(12, '\0') + std::string("\1\0\0\0", 4));
    auto flipped = [](std::string bytes) { return bytes.replace(bytes.find("abcdefgh"), 8, "abcXefgh"); };
    const std::string notAZip = "The download is not a zip archive.";
    const std::string encrypted = "The archive uses encryption, which is not supported.";
    const std::string damaged = "The archive is damaged (central directory).";
    const std::string checksum = "The archive is damaged (checksum of f.dat).";
    const std::string header = "The archive is damaged (header of f.dat).";
    const std::string body = "The archive is damaged (body of f.dat).";
    const std::string noHeader = central(letters, centralLocalOffset, 1);
    struct Case {
        const char* label;
        std::string bytes;
        std::string outcome;
    };
    const std::vector<Case> cases = {
        {"shorter than an end record", std::string(21, 'P'), notAZip},
        {"total 0: nothing else is looked at", patched(none.bytes, endDisk, 0x00010001), ""},
        {"65,978 bytes after the end record", good.bytes + std::string(65978, 'c'), "a.txt;b.txt;dir/;"},
        {"65,979 bytes after the end record", good.bytes + std::string(65979, 'c'), notAZip},
        {"the end record nearest the end wins", good.bytes + none.bytes, ""},
        {"total smaller than the records", patched(good.bytes, good.end + endTotal, 2, 2), "a.txt;b.txt;"},
        {"total larger than the records", patched(good.bytes, good.end + endTotal, 4, 2), damaged},
        {"40 bytes after the offset", patched(good.bytes, good.end + endOffset, good.end - 18), damaged},
        {"wrong central signature", central(good, 2, 3, 1), damaged},
        {"truncated central directory",
         good.bytes.substr(0, good.directory + 60) + good.bytes.substr(good.end), damaged},
        {"name running past the end", central(good, centralNameLength, 0x7FFF, 2), damaged},
        {"ill-formed UTF-8",
         handZip({{"caf\xE9", ""}, {"\xF0\x9F\x98.a\xC0\xAF", ""}, {"\xED\xA0\x80", ""}, {"d\xC3\xA9/", ""}})
             .bytes,
         "caf\uFFFD;\uFFFD.a\uFFFD\uFFFD;\uFFFD\uFFFD\uFFFD;d\u00E9/;"},
        {"zip64 end records", zip64, "The archive uses zip64 extensions, which is not supported."},
        {"zip64 entry size", central(good, centralUncompressed, 0xFFFFFFFF),
         "The archive uses zip64 extensions, which is not supported."},
        {"encrypted", central(good, centralFlags, 1, 2), encrypted},
        {"strong encryption flag alone", central(good, centralFlags, 0x40, 2), encrypted},
        // Its central directory encrypted, an archive has only zip64 records to show, and local
        // headers flagged encrypted, strongly encrypted and masked.
        {"encrypted central directory", patched(zip64, 6, 0x2041, 2), encrypted},
        {"second disk", patched(good.bytes, good.end + endDisk, 0x00010001),
         "The archive uses multiple disks, which is not supported."},
        {"offset at no local header", noHeader, header},
        {"offset far outside", central(letters, centralLocalOffset, 0xFFFFFFFE), header},
        {"body one byte past the end", central(letters, centralCompressed, letters.bytes.size() - 34), body},
        {"local extra one byte too long",
         patched(letters.bytes, localExtraLength, letters.bytes.size() - 42, 2), body},
        {"flipped stored byte", flipped(letters.bytes), checksum},
        {"flipped byte in stored blocks", flipped(handZip({{"f.dat", "abcdefgh", 0}}).bytes), checksum},
        {"unknown method", central(letters, centralMethod, 12, 2), "The archive uses compression method 12."},
        {"length before checksum", flipped(central(letters, centralUncompressed, 9)),
         "The archive is damaged (f.dat is 8 bytes, expected 9)."},
        {"decompression bomb stopped at the first step over its size",
         central(bomb, centralUncompressed, 1000),
         "The archive is damaged (bomb.dat is 4194304 bytes, expected 1000)."},
        {"deflated body cut after a step's output",
         central(bomb, centralCompressed, (bomb.directory - 38) / 2),
         "The archive is damaged (decompressor made no progress)."},
    };
    TempDir dir;
    for (const auto& c : cases) EXPECT_EQ(outcome(c.bytes, dir / "out"), c.outcome) << c.label;
    // What the fast decoder wrote before failing is dropped before zlib decodes the entry again.
    EXPECT_LT(fs::file_size(dir / "out"), 2 * step);
    // A body that cannot be found fails before the file is touched.
    writeFile(dir / "out", "previous");
    EXPECT_EQ(outcome(noHeader, dir / "out"), header);
    EXPECT_EQ(readFile(dir / "out"), "previous");
}

// Archives the current folder to $1 ("-": standard output) with a comment of $2 bytes; names
// holding "stored" are stored, the others deflated.
constexpr const char* pythonWriter = R"(
import os, sys, zipfile
with zipfile.ZipFile(sys.stdout.buffer if sys.argv[1] == "-" else sys.argv[1], "w") as z:
    for folder, _, files in sorted(os.walk(".")):
        for name in [folder] * (folder != ".") + [os.path.join(folder, f) for f in sorted(files)]:
            z.write(name, None, zipfile.ZIP_STORED if "stored" in name else zipfile.ZIP_DEFLATED)
    z.comment = b"c" * int(sys.argv[2])
)";

// Runs `script` in $3 with $1 the archive and $2 the Python writer.
void runWriter(const std::string& script, const fs::path& archive, const fs::path& folder) {
    const auto result =
        runProcess("/bin/sh", {"-c", "cd \"$3\" && " + script, "sh", archive, pythonWriter, folder});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
}

// Each file unpack says it wrote, with what it holds.
std::map<std::string, std::string> unpacked(const fs::path& archive, const fs::path& into) {
    std::map<std::string, std::string> files;
    for (const auto& name : ZipReader::unpack(MappedFile::open(archive).bytes(), into))
        files[name] = readFile(into / name);
    return files;
}

// What EarlyUnpack wrote while the archive arrived in pieces, or nothing when it left the archive
// to the whole unpack, having removed what it wrote.
std::optional<std::map<std::string, std::string>> unpackedEarly(std::string_view archive,
                                                                const fs::path& into,
                                                                std::size_t piece = 65536) {
    const fs::path growing = fs::path(into) += ".arriving";
    writeFile(growing, "");
    EarlyUnpack early(growing, into);
    for (std::size_t at = 0; at < archive.size(); at += piece) {
        std::ofstream(growing, std::ios::app | std::ios::binary) << archive.substr(at, piece);
        early.arrived(static_cast<std::int64_t>(std::min(at + piece, archive.size())));
    }
    const auto names = early.finish();
    if (!names) {
        EXPECT_FALSE(fs::exists(into));
        return std::nullopt;
    }
    std::map<std::string, std::string> files;
    for (const auto& name : *names) files[name] = readFile(into / name);
    return files;
}

TEST(ZipUnpack, UnpacksWhatRealWritersWrite) {
    // Nested folders, empty files, and sizes around one decoder step.
    const std::map<std::string, std::string> files = {
        {"a/b/c/deep.txt", "deep"},
        {"broker.hdr.asset", brokerHeader("Samantha")},
        {"data/empty-stored.dat", ""},
        {"data/empty.dat", ""},
        {"data/stored-above.raw", patterned(step + 1, 4)},
        {"data/units/above.dat", patterned(step + 1, 3)},
        {"data/units/below.dat", patterned(step - 1, 1)},
        {"data/units/stored-at.dat", patterned(step, 2)},
    };
    TempDir dir;
    for (const auto& [name, data] : files) writeFile(dir / "source" / name, data);
    // Written to a pipe, both writers add data descriptors; zip's local extra fields are longer
    // than its central ones.
    for (const std::string script : {"python3 -c \"$2\" \"$1\" 0", "python3 -c \"$2\" - 65535 | cat > \"$1\"",
                                     "zip -q -r - . | cat > \"$1\""}) {
        SCOPED_TRACE(script);
        runWriter(script, dir / "voice.zip", dir / "source");
        EXPECT_TRUE(unpacked(dir / "voice.zip", dir / "out") == files);
        // Data descriptors leave the local headers without sizes: not unpacked early.
        const auto early = unpackedEarly(readFile(dir / "voice.zip"), dir / "early");
        EXPECT_EQ(early.has_value(), script.ends_with(" 0"));
        EXPECT_TRUE(!early || *early == files);
        fs::remove_all(dir / "early");
    }

    // A Latin-1 name kept as its bytes, and standard input, whose size zip cannot know in advance:
    // zip64 end records whose values all fit.
    const std::string piped = patterned(step + 100, 7);
    writeFile(dir / "odd" / "caf\xE9.dat", "named in Latin-1");
    writeFile(dir / "odd" / "piped", piped);
    runWriter("zip -q \"$1\" caf* - < piped", dir / "odd.zip", dir / "odd");
    const std::map<std::string, std::string> odd = {{"-", piped}, {"caf\uFFFD.dat", "named in Latin-1"}};
    EXPECT_TRUE(unpacked(dir / "odd.zip", dir / "out-odd") == odd);
}

TEST(ZipUnpack, StopsAtTheFirstFailureAndKeepsWhatItWrote) {
    TempDir dir;
    const auto zip = handZip({{"first.dat", "one"}, {"second.dat", "data"}, {"third.dat", "three"}});
    const auto second = zip.directory + 46 + 9;  // after the record of "first.dat"
    const auto stopped = patched(zip.bytes, second + centralMethod, 12, 2);
    EXPECT_THROW(ZipReader::unpack(asBytes(stopped), dir / "out"), ZipReader::Failure);
    EXPECT_EQ(readFile(dir / "out" / "first.dat"), "one");
    EXPECT_EQ(readFile(dir / "out" / "second.dat"), "");
    EXPECT_FALSE(fs::exists(dir / "out" / "third.dat"));
}

// Local headers decide what is written early; the central directory, whether it stands.
TEST(ZipUnpack, EarlyUnpackStandsOnlyWhenTheDirectoryAgrees) {
    TempDir dir;
    const auto zip = handZip({{"a/one.dat", patterned(5000, 1), 6}, {"a/", ""}, {"two.dat", "two"}});
    const std::map<std::string, std::string> files = {{"a/one.dat", patterned(5000, 1)}, {"two.dat", "two"}};
    EXPECT_TRUE(unpackedEarly(zip.bytes, dir / "bytewise", 1) == files);
    const auto centralCrc = zip.directory + 16;
    EXPECT_FALSE(unpackedEarly(patched(zip.bytes, centralCrc, 7), dir / "crc"));
    const auto moreInDirectory = handZip({{"a/one.dat", "one"}, {"three.dat", "3"}});
    auto unlisted = handZip({{"a/one.dat", "one"}}).bytes;
    unlisted =
        unlisted.substr(0, unlisted.size() - 22) + moreInDirectory.bytes.substr(moreInDirectory.directory);
    EXPECT_FALSE(unpackedEarly(unlisted, dir / "unlisted"));
    for (const auto& name : {"../up.dat"s, "a/./one.dat"s})
        EXPECT_FALSE(unpackedEarly(handZip({{"a/one.dat", "one"}, {name, "x"}}).bytes, dir / "refused"));
}

TEST(ZipUnpack, NeverWritesOutsideTheDestination) {
    TempDir dir;
    for (const auto& name : {"/tmp/velmora-absolute.txt"s, "../escape.txt"s, "a/../../escape.txt"s, "a/.."s,
                             ".."s, "../up/"s, ""s, "a/."s, "nul\0byte.txt"s}) {
        SCOPED_TRACE(name);
        const auto zip = handZip({{"fine.txt", "fine"}, {name, "hostile"}});
        try {
            ZipReader::unpack(asBytes(zip.bytes), dir / "out" / "in");
            ADD_FAILURE() << "unpacked";
        } catch (const ZipReader::Failure& failure) {
            const std::string shown = name.find('\0') == std::string::npos ? name : "nul\uFFFDbyte.txt";
            EXPECT_EQ(failure.what(), "The archive holds an unsafe file name (" + shown + ").");
        }
        EXPECT_FALSE(fs::exists(dir / "out"));
    }
    EXPECT_FALSE(fs::exists("/tmp/velmora-absolute.txt"));
    // Names that only look odd stay inside and are fine.
    const auto odd = handZip({{"./a//b/..c/x..", "odd"}, {"..d", ""}}).bytes;
    EXPECT_EQ(ZipReader::unpack(asBytes(odd), dir / "odd").size(), 2U);
    EXPECT_EQ(readFile(dir / "odd" / "a" / "b" / "..c" / "x.."), "odd");

    // Links and special files already at the destination are neither followed nor opened.
    fs::create_directories(dir / "outside");
    fs::create_directory_symlink(dir / "outside", dir / "odd" / "voices");
    fs::create_symlink(dir / "outside" / "target.txt", dir / "odd" / "file.txt");
    ASSERT_EQ(::mkfifo((dir / "odd" / "fifo").c_str(), 0600), 0);
    for (const char* name : {"voices/pack.dat", "file.txt", "fifo"})
        EXPECT_THROW(ZipReader::unpack(asBytes(handZip({{name, "hostile"}}).bytes), dir / "odd"),
                     fs::filesystem_error);
    EXPECT_TRUE(fs::is_empty(dir / "outside"));
}

TEST(ZipUnpack, CommandLineListsTheFilesWrittenAndSaysWhatWentWrong) {
    TempDir dir;
    const auto notAZip = dir / "not-a.zip";
    writeFile(notAZip, "header");
    const struct {
        const char* label;
        std::vector<HandEntry> entries;  // none: the file above, which is no archive
        int status;
        std::string out, err;
    } cases[] = {
        // clang-format off
        {"files in folders", {{"voice.hdr", "header"}, {"a/", ""}, {"a/b/c/deep.txt", "deep", 6}}, 0,
         "voice.hdr\na/b/c/deep.txt\n", ""},
        {"not a zip", {}, 1, "", "velmora-cli: The download is not a zip archive.\n"},
        // A folder marked only by an MS-DOS attribute is a file here.
        {"file where a folder is needed", {{"def", "1"}, {"def/jkl", "2"}}, 1, "",
         "velmora-cli: def/jkl: filesystem error: cannot open directory: Not a directory [" +
             (dir / "out" / "def").string() + "]\n"},
        // Latin-1 names that decode alike, and one path spelt two ways: the later entry wins.
        {"replaced entries", {{"caf\xE9.txt", "1"}, {"caf\xE8.txt", "2"}, {"a/b", "3"}, {"./a//b", "4"}, {"c", "5"}},
         0, "caf\uFFFD.txt\ncaf\uFFFD.txt\na/b\n./a//b\nc\n",
         "velmora-cli: caf\uFFFD.txt replaced an earlier entry of the same name.\n"
         "velmora-cli: ./a//b replaced an earlier entry of the same name.\n"},
        // clang-format on
    };
    for (const auto& c : cases) {
        fs::remove_all(dir / "out");
        writeFile(dir / "voice.zip", handZip(c.entries).bytes);
        const auto archive = c.entries.empty() ? notAZip : dir / "voice.zip";
        const auto result = runProcess(VELMORA_CLI, {"unzip", archive.string(), (dir / "out").string()});
        EXPECT_EQ(std::tie(result.exitStatus, result.out, result.err), std::tie(c.status, c.out, c.err))
            << c.label;
    }
    EXPECT_EQ(readFile(dir / "out" / "caf\uFFFD.txt") + readFile(dir / "out" / "a/b"), "24");
}

}  // namespace
}  // namespace velmora::test
