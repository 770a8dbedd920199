#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace velmora::test {

struct ProcessResult {
    int exitStatus = -1;  // the exit status, or -1 when the process did not exit normally
    int signal = 0;       // the signal that ended it, if one did
    std::string out;
    std::string err;
};

// Runs `program` with `arguments`, the current environment changed by `environment` (an empty
// value unsets the variable), waits for it and collects both output streams.
ProcessResult runProcess(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                         const std::map<std::string, std::string>& environment = {});

// Runs `program` as runProcess does and sends it SIGINT (Ctrl-C) the first time `moment` holds,
// asked with the standard output so far and asked again without pausing, since some moments last
// only milliseconds. The child takes SIGINT's default action whatever this process ignores.
ProcessResult interruptWhen(const std::function<bool(const std::string& out)>& moment,
                            const std::filesystem::path& program, const std::vector<std::string>& arguments,
                            const std::map<std::string, std::string>& environment = {});

}  // namespace velmora::test
