#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace velmora::test {

// The folder that velmora-cli and the reference provider, activated by the private session bus,
// share: its app-groups folder holds their container, its tmp folder the audio dumps.
const std::filesystem::path& busWorld();

// A program's output, line by line.
std::vector<std::string> lines(const std::string& text);

}  // namespace velmora::test
