// Unpacking whole archives made by real writers, and refusing hostile ones before writing.
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

#include "support/Files.h"
#include "support/Process.h"
#include "zip/Fixtures.h"
#include "zip/HandZip.h"
#include "zip/MappedFile.h"
#include "zip/ZipReader.h"

namespace velmora {
namespace {

namespace fs = std::filesystem;
using test::HandEntry;
using test::SourceFile;

constexpr std::size_t step = ZipReader::stepSize;

// Files of every kind the readers meet: nested folders, directory entries, empty files, and
// sizes around one decoder step, both stored and deflated.
std::vector<SourceFile> voiceTree() {
    return {
        {"broker.hdr.asset", test::brokerHeader("Samantha")},
        {"data/", ""},
        {"data/units/", ""},
        {"data/units/below.dat", test::patterned(step - 1, 1)},
        {"data/units/at.dat", test::patterned(step, 2), true},
        {"data/units/above.dat", test::patterned(step + 1, 3)},
        {"data/stored-above.raw", test::patterned(step + 1, 4), true},
        {"data/empty.dat", ""},
        {"data/empty-stored.dat", "", true},
        {"a/b/c/deep.txt", "deep"},
    };
}

std::vector<std::string> fileNames(const std::vector<SourceFile>& files) {
    std::vector<std::string> names;
    for (const auto& file : files) {
        if (!file.name.ends_with('/')) names.push_back(file.name);
    }
    return names;
}

void expectTreeHolds(const fs::path& folder, const std::vector<SourceFile>& files) {
    for (const auto& file : files) {
        SCOPED_TRACE(file.name);
        if (file.name.ends_with('/')) {
            EXPECT_TRUE(fs::is_directory(folder / file.name));
        } else {
            EXPECT_TRUE(test::readFile(folder / file.name) == file.data);
        }
    }
}

std::vector<std::string> unpackFile(const fs::path& archive, const fs::path& into) {
    const auto mapped = MappedFile::open(archive);
    return ZipReader::unpack(mapped.bytes(), into);
}

TEST(ZipUnpack, UnpacksWhatPythonsZipfileWrites) {
    const auto files = voiceTree();
    test::TempDir dir;
    test::writeTree(dir / "source", files);
    struct Case {
        const char* label;
        test::PythonZipOptions options;
    };
    const std::vector<Case> cases = {
        {"plain", {}},
        {"65,535-byte comment", {.commentLength = 65535}},
        {"data descriptors", {.streamed = true}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        const fs::path archive = dir / (std::string(c.label) + ".zip");
        test::pythonZip(archive, dir / "source", files, c.options);
        const fs::path out = dir / "out" / c.label;
        EXPECT_EQ(unpackFile(archive, out), fileNames(files));
        expectTreeHolds(out, files);
    }
}

TEST(ZipUnpack, UnpacksWhatInfoZipWrites) {
    test::TempDir dir;
    auto files = voiceTree();
    files.push_back({"caf\xE9-latin1.dat", "named in Latin-1"});
    test::writeTree(dir / "source", files);
    test::infoZip(dir / "tree.zip", dir / "source");
    auto written = unpackFile(dir / "tree.zip", dir / "out");
    std::sort(written.begin(), written.end());
    auto expected = fileNames(files);
    expected.back() = "caf\uFFFD-latin1.dat";
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(written, expected);
    files.pop_back();
    expectTreeHolds(dir / "out", files);
    EXPECT_EQ(test::readFile(dir / "out" / "caf\uFFFD-latin1.dat"), "named in Latin-1");

    // Read from a pipe, zip cannot know the size in advance: data descriptors and zip64 end records.
    const std::string piped = test::patterned(step + 100, 7);
    test::writeFile(dir / "piped.bin", piped);
    test::infoZipFromStdin(dir / "stdin.zip", dir / "piped.bin");
    EXPECT_EQ(unpackFile(dir / "stdin.zip", dir / "out-stdin"), std::vector<std::string>{"-"});
    EXPECT_TRUE(test::readFile(dir / "out-stdin" / "-") == piped);
}

TEST(ZipUnpack, FollowsTheCentralDirectory) {
    test::TempDir dir;
    const auto onlyFolders = test::buildZip({HandEntry::stored("a/", ""), HandEntry::stored("a/b/", "")});
    EXPECT_TRUE(ZipReader::unpack(onlyFolders.bytes, dir / "folders").empty());
    EXPECT_FALSE(fs::exists(dir / "folders"));

    const auto twice = test::buildZip({HandEntry::stored("same.txt", "first"), HandEntry::stored("same.txt", "second")});
    EXPECT_EQ(ZipReader::unpack(twice.bytes, dir / "twice"), (std::vector<std::string>{"same.txt", "same.txt"}));
    EXPECT_EQ(test::readFile(dir / "twice" / "same.txt"), "second");

    auto badMethod = HandEntry::stored("second.dat", "data");
    badMethod.method = 12;
    const auto stopped = test::buildZip(
        {HandEntry::stored("first.dat", "one"), badMethod, HandEntry::stored("third.dat", "three")});
    try {
        ZipReader::unpack(stopped.bytes, dir / "stopped");
        ADD_FAILURE() << "unpacked an entry with method 12";
    } catch (const ZipReader::Failure& failure) {
        EXPECT_EQ(failure.kind(), ZipReader::Failure::Kind::unsupportedCompression);
        EXPECT_EQ(failure.method(), 12);
    }
    EXPECT_EQ(test::readFile(dir / "stopped" / "first.dat"), "one");
    EXPECT_EQ(test::readFile(dir / "stopped" / "second.dat"), "");
    EXPECT_FALSE(fs::exists(dir / "stopped" / "third.dat"));
}

TEST(ZipUnpack, RefusesHostileNamesBeforeWritingAnything) {
    const std::vector<std::string> hostile = {
        "/tmp/velmora-absolute.txt", "../escape.txt", "a/../../escape.txt", "a/..", "..", "../up/", "",
        "a/.", std::string("nul\0byte.txt", 12),
    };
    test::TempDir dir;
    for (const auto& name : hostile) {
        SCOPED_TRACE(name);
        const auto zip = test::buildZip({HandEntry::stored("fine.txt", "fine"), HandEntry::stored(name, "hostile")});
        try {
            ZipReader::unpack(zip.bytes, dir / "out" / "in");
            ADD_FAILURE() << "unpacked";
        } catch (const ZipReader::Failure& failure) {
            EXPECT_EQ(failure.kind(), ZipReader::Failure::Kind::unsafeName);
            EXPECT_EQ(failure.detail(), name);
            const std::string shown = name.find('\0') == std::string::npos ? name : "nul\uFFFDbyte.txt";
            EXPECT_EQ(std::string(failure.what()), "The archive holds an unsafe file name (" + shown + ").");
        }
        EXPECT_FALSE(fs::exists(dir / "out"));
    }
    EXPECT_FALSE(fs::exists("/tmp/velmora-absolute.txt"));
    // Names that only look odd stay inside and are fine.
    const auto odd = test::buildZip({HandEntry::stored("./a//b/..c/x..", "odd"), HandEntry::stored("..d", "odd")});
    EXPECT_EQ(ZipReader::unpack(odd.bytes, dir / "odd").size(), 2U);
    EXPECT_EQ(test::readFile(dir / "odd" / "a" / "b" / "..c" / "x.."), "odd");
}

TEST(ZipUnpack, DoesNotFollowLinksInsideTheDestination) {
    test::TempDir dir;
    fs::create_directories(dir / "outside");
    fs::create_directories(dir / "into");
    fs::create_directory_symlink(dir / "outside", dir / "into" / "voices");
    fs::create_symlink(dir / "outside" / "target.txt", dir / "into" / "file.txt");
    for (const char* name : {"voices/pack.dat", "file.txt"}) {
        SCOPED_TRACE(name);
        const auto zip = test::buildZip({HandEntry::stored(name, "hostile")});
        EXPECT_THROW(ZipReader::unpack(zip.bytes, dir / "into"), fs::filesystem_error);
    }
    EXPECT_TRUE(fs::is_empty(dir / "outside"));
}

TEST(ZipUnpack, CommandLineListsTheFilesWritten) {
    test::TempDir dir;
    const auto files = voiceTree();
    test::writeTree(dir / "source", {files[0], files[9]});
    test::pythonZip(dir / "voice.zip", dir / "source", {files[0], files[9]});
    const auto good = test::runProcess(VELMORA_CLI, {"unzip", (dir / "voice.zip").string(), (dir / "out").string()});
    EXPECT_EQ(good.exitStatus, 0) << good.err;
    EXPECT_EQ(good.out, "broker.hdr.asset\na/b/c/deep.txt\n");
    EXPECT_EQ(test::readFile(dir / "out" / "a/b/c/deep.txt"), "deep");

    const auto bad = test::runProcess(VELMORA_CLI, {"unzip", (dir / "source" / "broker.hdr.asset").string(),
                                                     (dir / "out2").string()});
    EXPECT_EQ(bad.exitStatus, 1);
    EXPECT_EQ(bad.err, "velmora-cli: The download is not a zip archive.\n");
    EXPECT_EQ(bad.out, "");
}

}  // namespace
}  // namespace velmora
