#pragma once

#include <string>
#include <vector>

#include "support/TestWorld.h"

namespace velmora::test {

// A program's output, line by line.
std::vector<std::string> lines(const std::string& text);

}  // namespace velmora::test
