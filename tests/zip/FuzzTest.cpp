// Thousands of damaged copies of a good archive: every one must end in a result or in a
// reported failure, never in a crash, a read outside the buffer or a write outside the folder.
#include <gtest/gtest.h>

#include <random>

#include "support/Files.h"
#include "zip/Fixtures.h"
#include "zip/HandZip.h"
#include "zip/ZipReader.h"
#include "zip/ZlibInflate.h"

namespace velmora {
namespace {

namespace fs = std::filesystem;
using test::HandEntry;

std::vector<std::byte> goodArchive() {
    return test::buildZip({HandEntry::stored("broker.hdr.asset", test::brokerHeader("Tom")), HandEntry::stored("data/", ""),
                           HandEntry::deflated("data/units.dat", test::patterned(3000, 11)),
                           HandEntry::deflated("data/fixed.dat", std::string(500, 'a') + "tail", 1)})
        .bytes;
}

std::vector<std::byte> damage(std::vector<std::byte> bytes, std::mt19937& random) {
    const int kind = static_cast<int>(random() % 4);
    if (kind != 0) {
        const int flips = 1 + static_cast<int>(random() % 3);
        for (int i = 0; i < flips; ++i) bytes[random() % bytes.size()] ^= static_cast<std::byte>(1 + random() % 255);
    }
    if (kind == 0 || kind == 3) bytes.resize(random() % bytes.size());
    // A fresh allocation of the exact size, so the sanitizer sees any read past the end.
    return {bytes.begin(), bytes.end()};
}

// The writing of one entry as the reader's contract gives it, with zlib and the byte-at-a-time
// CRC: what the file should hold afterwards and the failure text, if any.
std::string referenceWrite(const ZipReader::Entry& entry, std::span<const std::byte> body, std::string& output) {
    std::uint32_t crcRegister = 0xFFFFFFFF;
    std::int64_t count = 0;
    const auto lengthText = [&](std::int64_t n) {
        return "The archive is damaged (" + entry.name + " is " + std::to_string(n) + " bytes, expected " +
               std::to_string(entry.uncompressedSize) + ").";
    };
    auto add = [&](std::span<const std::byte> piece) {
        output += test::asText(piece);
        crcRegister = ZipReader::crc32(piece, crcRegister);
        count += static_cast<std::int64_t>(piece.size());
    };
    if (entry.method == 0) {
        add(body);
    } else if (entry.method == 8) {
        try {
            zip::zlibInflate(body, [&](std::span<const std::byte> piece) {
                const auto decoded = count + static_cast<std::int64_t>(piece.size());
                if (decoded > entry.uncompressedSize) throw ZipReader::Failure::corrupt(lengthText(decoded));
                add(piece);
            });
        } catch (const ZipReader::Failure& failure) {
            const std::string text = failure.what();
            return text.starts_with("The archive is damaged (The archive") ? failure.detail() : text;
        }
    } else {
        return "The archive uses compression method " + std::to_string(entry.method) + ".";
    }
    if (count != entry.uncompressedSize) return lengthText(count);
    if (~crcRegister != entry.crc32) return "The archive is damaged (checksum of " + entry.name + ").";
    return "";
}

// Every entry whose body can be found is written as the reference writes it.
void compareWithReference(std::span<const std::byte> archive, const fs::path& file) {
    std::vector<ZipReader::Entry> entries;
    try {
        entries = ZipReader::entries(archive);
    } catch (const ZipReader::Failure&) {
        return;
    }
    for (const auto& entry : entries) {
        std::span<const std::byte> body;
        try {
            body = ZipReader::body(entry, archive);
        } catch (const ZipReader::Failure&) {
            continue;
        }
        std::string expected;
        const std::string expectedFailure = referenceWrite(entry, body, expected);
        std::string failure;
        fs::remove(file);  // rewriting a file in place would make ext4 flush it at every close
        try {
            ZipReader::write(entry, archive, file);
        } catch (const ZipReader::Failure& error) {
            failure = error.what();
        }
        EXPECT_EQ(failure, expectedFailure) << entry.name;
        EXPECT_TRUE(test::readFile(file) == expected) << entry.name;
    }
}

TEST(ZipFuzz, DamagedArchivesFailCleanly) {
    const auto good = goodArchive();
    test::TempDir dir;
    std::mt19937 random(20261122);
    int unpacked = 0;
    for (int round = 0; round < 3000; ++round) {
        const auto archive = damage(good, random);
        fs::remove_all(dir / "out");
        try {
            ZipReader::unpack(archive, dir / "out" / "in");
            ++unpacked;
        } catch (const ZipReader::Failure&) {
        } catch (const fs::filesystem_error&) {
            // A damaged name may turn a file into a folder that a later name needs.
        }
        compareWithReference(archive, dir / "entry.out");
        for (const auto& item : fs::directory_iterator(dir.path())) {
            ASSERT_TRUE(item.path().filename() == "out" || item.path().filename() == "entry.out") << round;
        }
    }
    EXPECT_GT(unpacked, 0);  // some flips land where nothing reads them
}

}  // namespace
}  // namespace velmora
