#pragma once

#include <string>
#include <utility>
#include <vector>

namespace velmora::test {

// A zip archive written by Python's zipfile with deflated entries, as bytes. A name ending in
// "/" is a directory entry.
std::string makeZip(const std::vector<std::pair<std::string, std::string>>& entries);

}  // namespace velmora::test
