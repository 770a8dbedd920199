#include "selftest/SuiteLines.h"

#include <cstdarg>
#include <cstdio>
#include <mutex>

namespace velmora {

LineSink standardOutputLines() {
    static std::once_flag lineBuffered;
    std::call_once(lineBuffered, [] { std::setvbuf(stdout, nullptr, _IOLBF, 0); });
    return [](const std::string& line) {
        // One call per line, so that lines written from other threads never interleave with it.
        std::fputs((line + "\n").c_str(), stdout);
    };
}

std::string formatted(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    std::va_list measuring;
    va_copy(measuring, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, measuring);
    va_end(measuring);
    std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
    if (length > 0) std::vsnprintf(text.data(), text.size() + 1, format, arguments);
    va_end(arguments);
    return text;
}

std::string joined(const std::vector<std::string>& pieces, std::string_view separator) {
    std::string text;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        if (i > 0) text += separator;
        text += pieces[i];
    }
    return text;
}

bool saysFail(std::string_view line) {
    constexpr std::string_view word = "FAIL";
    for (std::size_t at = line.find(word); at != std::string_view::npos; at = line.find(word, at + 1)) {
        const bool startsWord = at == 0 || line[at - 1] == ' ';
        const bool endsWord = at + word.size() == line.size() || line[at + word.size()] == ' ';
        if (startsWord && endsWord) return true;
    }
    return false;
}

}  // namespace velmora
