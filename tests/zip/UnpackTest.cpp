// Unpacking whole archives made by real writers, and refusing hostile ones before writing.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <map>
#include <optional>

#include "support/Files.h"
#include "support/Process.h"
#include "zip/EarlyUnpack.h"
#include "zip/Fixtures.h"
#include "zip/MappedFile.h"
#include "zip/ZipReader.h"

namespace velmora {
namespace {

namespace fs = std::filesystem;
using namespace test;
using namespace std::string_literals;

constexpr std::size_t step = ZipReader::stepSize;

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
    for (const auto& name : ZipReader::unpack(MappedFile::open(archive).bytes(), into)) {
        files[name] = readFile(into / name);
    }
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
        if (early) {
            EXPECT_TRUE(*early == files);
        }
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
    for (const auto& name : {"../up.dat"s, "a/./one.dat"s}) {
        EXPECT_FALSE(unpackedEarly(handZip({{"a/one.dat", "one"}, {name, "x"}}).bytes, dir / "refused"));
    }
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
    for (const char* name : {"voices/pack.dat", "file.txt", "fifo"}) {
        const auto zip = handZip({{name, "hostile"}}).bytes;
        EXPECT_THROW(ZipReader::unpack(asBytes(zip), dir / "odd"), fs::filesystem_error);
    }
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
        {"files in folders",
         {{"voice.hdr", "header"}, {"a/", ""}, {"a/b/c/deep.txt", "deep", 6}},
         0,
         "voice.hdr\na/b/c/deep.txt\n",
         ""},
        {"not a zip", {}, 1, "", "velmora-cli: The download is not a zip archive.\n"},
        // A folder marked only by an MS-DOS attribute is a file here.
        {"file where a folder is needed",
         {{"def", "1"}, {"def/jkl", "2"}},
         1,
         "",
         "velmora-cli: def/jkl: filesystem error: cannot open directory: Not a directory [" +
             (dir / "out" / "def").string() + "]\n"},
        // Latin-1 names that decode alike, and one path spelt two ways: the later entry wins.
        {"replaced entries",
         {{"caf\xE9.txt", "1"}, {"caf\xE8.txt", "2"}, {"a/b", "3"}, {"./a//b", "4"}, {"c", "5"}},
         0,
         "caf\uFFFD.txt\ncaf\uFFFD.txt\na/b\n./a//b\nc\n",
         "velmora-cli: caf\uFFFD.txt replaced an earlier entry of the same name.\n"
         "velmora-cli: ./a//b replaced an earlier entry of the same name.\n"},
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
}  // namespace velmora
