#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace velmora {

// Where a self-test suite's lines go: one call per line, given without its newline.
using LineSink = std::function<void(const std::string& line)>;

// Standard output, switched to line buffering so that each line leaves at once, even into a pipe.
LineSink standardOutputLines();

// A line composed in the printf manner (a text goes in as "%s").
[[gnu::format(printf, 1, 2)]] std::string formatted(const char* format, ...);

// The pieces with `separator` between each two.
std::string joined(const std::vector<std::string>& pieces, std::string_view separator);

// Whether a suite's line judges something as failed: one of its blank-separated words is FAIL.
bool saysFail(std::string_view line);

}  // namespace velmora
