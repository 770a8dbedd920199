#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velmora::test {

// A fresh folder below the system's temporary folder, removed with everything in it at the end.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(const std::filesystem::path& relative) const { return path_ / relative; }

private:
    std::filesystem::path path_;
};

// Writes `contents` to `file`, creating its parent folders.
void writeFile(const std::filesystem::path& file, std::string_view contents);
// The whole file, or throws when it cannot be read.
std::string readFile(const std::filesystem::path& file);
// An expected-output file kept beside the tests, in tests/`folder`/expected/.
std::filesystem::path expectedOutput(std::string_view folder, std::string_view name);
// The lines of `text`, each joined to the next by a newline, with every `from` replaced by `to`:
// what a run printed, ready to compare with an expected-output file whose placeholders stand for
// the values that vary (paths, sizes).
std::string joinLines(const std::vector<std::string>& lines,
                      const std::vector<std::pair<std::string, std::string>>& placeholders = {});
// The permission bits of `file` (07777 when it cannot be examined).
unsigned permissions(const std::filesystem::path& file);
// A header naming `voice` the way voice packs write it.
std::string brokerHeader(std::string_view voice);

}  // namespace velmora::test
