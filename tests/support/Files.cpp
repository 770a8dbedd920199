#include "support/Files.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

namespace velmora::test {
namespace fs = std::filesystem;

TempDir::TempDir() {
    std::string pattern = (fs::temp_directory_path() / "velmora-test-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
}

TempDir::~TempDir() {
    std::error_code ignored;
    // Tests take permissions away; give them back so that everything can be removed.
    for (auto it = fs::recursive_directory_iterator(path_, ignored); !ignored && it != fs::end(it);
         it.increment(ignored)) {
        fs::permissions(it->path(), fs::perms::owner_all, fs::perm_options::add | fs::perm_options::nofollow,
                        ignored);
    }
    fs::remove_all(path_, ignored);
}

void writeFile(const fs::path& file, std::string_view contents) {
    fs::create_directories(file.parent_path());
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out.write(contents.data(), static_cast<std::streamsize>(contents.size()));
    if (!out) throw std::runtime_error("cannot write " + file.string());
}

std::string readFile(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    if (!in) throw std::runtime_error("cannot read " + file.string());
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

fs::path expectedOutput(std::string_view folder, std::string_view name) {
    return fs::path(VELMORA_TESTS_SOURCE_DIR) / folder / "expected" / name;
}

std::string joinLines(const std::vector<std::string>& lines,
                      const std::vector<std::pair<std::string, std::string>>& placeholders) {
    std::string text;
    for (const auto& line : lines) text += line + "\n";
    for (const auto& [from, to] : placeholders) {
        for (auto at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
            text.replace(at, from.size(), to);
    }
    return text;
}

unsigned permissions(const fs::path& file) {
    struct stat info {};
    return ::stat(file.c_str(), &info) == 0 ? info.st_mode & 07777 : 07777;
}

std::string brokerHeader(std::string_view voice) {
    return "<broker>\n<voice>" + std::string(voice) + "</voice>\n<rate>22050</rate>\n</broker>\n";
}

}  // namespace velmora::test
