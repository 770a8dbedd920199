#pragma once

#include <istream>
#include <mutex>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace velmora::speechd {

// The output module's side of its pipes to speech-dispatcher: commands and their data come in
// line by line on standard input; replies and events go out on standard output. Replies come
// from the reading thread, events from the speaking thread: each send() is written whole.
class ModuleChannel {
public:
    ModuleChannel(std::istream& in, std::ostream& out);

    // The next line without its line feed; absent once the server has closed the pipe.
    std::optional<std::string> readLine();
    // The lines up to the one holding a single ".", with the dot that escapes a line of its own
    // (".." for ".") taken off; absent when the pipe closes first.
    std::optional<std::vector<std::string>> readBlock();

    void send(const std::vector<std::string>& lines);
    void sendLine(const std::string& line) { send(std::vector<std::string>{line}); }

private:
    std::istream& in_;
    std::ostream& out_;
    std::mutex outMutex_;
};

}  // namespace velmora::speechd
