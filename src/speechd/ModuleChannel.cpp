#include "speechd/ModuleChannel.h"

namespace velmora::speechd {

ModuleChannel::ModuleChannel(std::istream& in, std::ostream& out) : in_(in), out_(out) {}

std::optional<std::string> ModuleChannel::readLine() {
    std::string line;
    if (!std::getline(in_, line)) return std::nullopt;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return line;
}

std::optional<std::vector<std::string>> ModuleChannel::readBlock() {
    std::vector<std::string> lines;
    while (auto line = readLine()) {
        if (*line == ".") return lines;
        if (line->starts_with("..")) line->erase(0, 1);
        lines.push_back(std::move(*line));
    }
    return std::nullopt;
}

void ModuleChannel::send(const std::vector<std::string>& lines) {
    std::lock_guard lock(outMutex_);
    for (const auto& line : lines) out_ << line << '\n';
    out_.flush();
}

}  // namespace velmora::speechd
