// Unpacking whole archives made by real writers, and refusing hostile ones before writing.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <algorithm>

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
        runProcess("/bin/sh", {"-c", "cd \"$3\" && " + script, "sh", archive.string(), pythonWriter, folder.string()});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
}

std::vector<std::string> unpackSorted(const fs::path& archive, const fs::path& into) {
    auto names = ZipReader::unpack(MappedFile::open(archive).bytes(), into);
    std::sort(names.begin(), names.end());
    return names;
}

TEST(ZipUnpack, UnpacksWhatRealWritersWrite) {
    // Nested folders, empty files, and sizes around one decoder step.
    const std::vector<std::pair<std::string, std::string>> files = {
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
    std::vector<std::string> names;
    for (const auto& file : files) names.push_back(file.first);
    // Written to a pipe, both writers add data descriptors; zip's local extra fields are longer
    // than its central ones.
    for (const std::string script : {"python3 -c \"$2\" \"$1\" 0", "python3 -c \"$2\" - 65535 | cat > \"$1\"",
                                     "zip -q -r - . | cat > \"$1\""}) {
        SCOPED_TRACE(script);
        runWriter(script, dir / "voice.zip", dir / "source");
        fs::remove_all(dir / "out");
        EXPECT_EQ(unpackSorted(dir / "voice.zip", dir / "out"), names);
        for (const auto& [name, data] : files) EXPECT_TRUE(readFile(dir / "out" / name) == data) << name;
        fs::remove(dir / "voice.zip");
    }

    // A Latin-1 name kept as its bytes, and standard input, whose size zip cannot know in advance:
    // zip64 end records whose values all fit.
    const std::string piped = patterned(step + 100, 7);
    writeFile(dir / "odd" / "caf\xE9.dat", "named in Latin-1");
    writeFile(dir / "odd" / "piped", piped);
    runWriter("zip -q \"$1\" caf* - < piped", dir / "odd.zip", dir / "odd");
    EXPECT_EQ(unpackSorted(dir / "odd.zip", dir / "out-odd"), (std::vector<std::string>{"-", "caf\uFFFD.dat"}));
    EXPECT_EQ(readFile(dir / "out-odd" / "caf\uFFFD.dat"), "named in Latin-1");
    EXPECT_TRUE(readFile(dir / "out-odd" / "-") == piped);
}

TEST(ZipUnpack, StopsAtTheFirstFailureAndKeepsWhatItWrote) {
    TempDir dir;
    const auto zip = handZip({{"first.dat", "one"}, {"second.dat", "data"}, {"third.dat", "three"}});
    const auto second = zip.directory + 46 + 9;  // after the record of "first.dat"
    try {
        ZipReader::unpack(asBytes(patched(zip.bytes, second + centralMethod, 12, 2)), dir / "out");
        ADD_FAILURE() << "unpacked an entry with method 12";
    } catch (const ZipReader::Failure& failure) {
        EXPECT_STREQ(failure.what(), "The archive uses compression method 12.");
    }
    EXPECT_EQ(readFile(dir / "out" / "first.dat"), "one");
    EXPECT_EQ(readFile(dir / "out" / "second.dat"), "");
    EXPECT_FALSE(fs::exists(dir / "out" / "third.dat"));
}

TEST(ZipUnpack, NeverWritesOutsideTheDestination) {
    TempDir dir;
    for (const auto& name : {"/tmp/velmora-absolute.txt"s, "../escape.txt"s, "a/../../escape.txt"s, "a/.."s,
                                   ".."s, "../up/"s, ""s, "a/."s, "nul\0byte.txt"s}) {
        SCOPED_TRACE(name);
        try {
            ZipReader::unpack(asBytes(handZip({{"fine.txt", "fine"}, {name, "hostile"}}).bytes), dir / "out" / "in");
            ADD_FAILURE() << "unpacked";
        } catch (const ZipReader::Failure& failure) {
            EXPECT_EQ(failure.detail(), name);
            const std::string shown = name.find('\0') == std::string::npos ? name : "nul\uFFFDbyte.txt";
            EXPECT_EQ(failure.what(), "The archive holds an unsafe file name (" + shown + ").");
        }
        EXPECT_FALSE(fs::exists(dir / "out"));
    }
    EXPECT_FALSE(fs::exists("/tmp/velmora-absolute.txt"));
    // Names that only look odd stay inside and are fine.
    EXPECT_EQ(ZipReader::unpack(asBytes(handZip({{"./a//b/..c/x..", "odd"}, {"..d", ""}}).bytes), dir / "odd").size(), 2U);
    EXPECT_EQ(readFile(dir / "odd" / "a" / "b" / "..c" / "x.."), "odd");

    // Links and special files already at the destination are neither followed nor opened.
    fs::create_directories(dir / "outside");
    fs::create_directory_symlink(dir / "outside", dir / "odd" / "voices");
    fs::create_symlink(dir / "outside" / "target.txt", dir / "odd" / "file.txt");
    ASSERT_EQ(::mkfifo((dir / "odd" / "fifo").c_str(), 0600), 0);
    for (const char* name : {"voices/pack.dat", "file.txt", "fifo"}) {
        EXPECT_THROW(ZipReader::unpack(asBytes(handZip({{name, "hostile"}}).bytes), dir / "odd"), fs::filesystem_error);
    }
    EXPECT_TRUE(fs::is_empty(dir / "outside"));
}

TEST(ZipUnpack, CommandLineListsTheFilesWritten) {
    TempDir dir;
    writeFile(dir / "voice.zip", handZip({{"broker.hdr.asset", "header"}, {"a/", ""}, {"a/b/c/deep.txt", "deep", 6}}).bytes);
    const auto good = runProcess(VELMORA_CLI, {"unzip", (dir / "voice.zip").string(), (dir / "out").string()});
    EXPECT_EQ(good.exitStatus, 0) << good.err;
    EXPECT_EQ(good.out, "broker.hdr.asset\na/b/c/deep.txt\n");
    EXPECT_EQ(readFile(dir / "out" / "a/b/c/deep.txt"), "deep");

    const auto bad = runProcess(VELMORA_CLI, {"unzip", (dir / "out" / "broker.hdr.asset").string(), (dir / "out2").string()});
    EXPECT_EQ(bad.exitStatus, 1);
    EXPECT_EQ(bad.err, "velmora-cli: The download is not a zip archive.\n");
    EXPECT_EQ(bad.out, "");
}

}  // namespace
}  // namespace velmora
