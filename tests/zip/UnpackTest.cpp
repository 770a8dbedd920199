// Unpacking whole archives made by real writers, and refusing hostile ones before writing.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <map>

#include "support/Files.h"
#include "support/Process.h"
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

TEST(ZipUnpack, CommandLineListsTheFilesWritten) {
    TempDir dir;
    const auto voice = handZip({{"voice.hdr", "header"}, {"a/", ""}, {"a/b/c/deep.txt", "deep", 6}});
    writeFile(dir / "voice.zip", voice.bytes);
    const auto good =
        runProcess(VELMORA_CLI, {"unzip", (dir / "voice.zip").string(), (dir / "out").string()});
    EXPECT_EQ(good.exitStatus, 0) << good.err;
    EXPECT_EQ(good.out, "voice.hdr\na/b/c/deep.txt\n");

    const auto bad =
        runProcess(VELMORA_CLI, {"unzip", (dir / "out" / "voice.hdr").string(), (dir / "out2").string()});
    EXPECT_EQ(bad.exitStatus, 1);
    EXPECT_EQ(bad.err, "velmora-cli: The download is not a zip archive.\n");
    EXPECT_EQ(bad.out, "");
}

}  // namespace
}  // namespace velmora
