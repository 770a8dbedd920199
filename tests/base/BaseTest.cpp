#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "base/Fnv1a.h"
#include "base/ReadFile.h"
#include "support/Files.h"

namespace velmora {
namespace {

TEST(ReadFileTest, WholeFilesUpToTheLimitAndStartsOfAnyLength) {
    const test::TempDir dir;
    const std::string large(100'000, 'x');  // more than one read
    test::writeFile(dir / "five", "12345");
    test::writeFile(dir / "large", large);
    test::writeFile(dir / "empty", "");
    const struct {
        const char* name;
        std::optional<std::string> whole;
        std::optional<std::string> start;
        std::size_t count;
    } cases[] = {
        {"five", std::nullopt, "123", 3},
        {"five", std::nullopt, "1234", 4},  // one byte over the limit
        {"five", "12345", "12345", 5},      // exactly the limit
        {"five", "12345", "12345", 9},
        {"large", std::nullopt, large.substr(0, 70'000), 70'000},
        {"large", std::nullopt, large.substr(0, 99'999), 99'999},
        {"large", large, large, 100'000},
        {"empty", "", "", 0},
        {"missing", std::nullopt, std::nullopt, 5},
    };
    for (const auto& c : cases) {
        // Compared, not printed: the large file would flood the report.
        EXPECT_TRUE(readWholeFile(dir / c.name, c.count) == c.whole) << c.name << " / " << c.count;
        EXPECT_TRUE(readFileStart(dir / c.name, c.count) == c.start) << c.name << " / " << c.count;
    }
    EXPECT_TRUE(readWholeFile(dir / "large") == large);
    EXPECT_EQ(readWholeFile(dir.path()), std::nullopt);  // a folder is not a file
}

TEST(Fnv1aTest, MatchesThePublishedValues) {
    const struct {
        const char* text;
        std::uint64_t value;
    } cases[] = {{"", 0xcbf29ce484222325}, {"a", 0xaf63dc4c8601ec8c}, {"foobar", 0x85944171f73967e8}};
    for (const auto& c : cases) {
        Fnv1a hash;
        hash.add(c.text);
        EXPECT_EQ(hash.value(), c.value) << c.text;
    }
}

}  // namespace
}  // namespace velmora
