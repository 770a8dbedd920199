#include "ZipFixture.h"

#include <stdexcept>

#include "support/Files.h"
#include "support/Process.h"

namespace velmora::test {

std::string makeZip(const std::vector<std::pair<std::string, std::string>>& entries) {
    const TempDir dir;
    std::vector<std::string> arguments{VELMORA_MAKE_ZIP, (dir / "archive.zip").string()};
    for (const auto& [name, content] : entries) {
        arguments.push_back(name);
        arguments.push_back(content);
    }
    const ProcessResult result = runProcess("/usr/bin/python3", arguments);
    if (result.exitStatus != 0) throw std::runtime_error("make_zip.py failed: " + result.err);
    return readFile(dir / "archive.zip");
}

}  // namespace velmora::test
