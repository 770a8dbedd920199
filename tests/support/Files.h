#pragma once

#include <filesystem>
#include <string>
#include <string_view>

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
// The permission bits of `file` (07777 when it cannot be examined).
unsigned permissions(const std::filesystem::path& file);
// A header naming `voice` the way voice packs write it.
std::string brokerHeader(std::string_view voice);

}  // namespace velmora::test
