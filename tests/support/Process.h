#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace velmora::test {

struct ProcessResult {
    int exitStatus = -1;  // the exit status, or -1 when the process did not exit normally
    std::string out;
    std::string err;
};

// Runs `program` with `arguments`, the current environment changed by `environment` (an empty
// value unsets the variable), waits for it and collects both output streams.
ProcessResult runProcess(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                         const std::map<std::string, std::string>& environment = {});

}  // namespace velmora::test
