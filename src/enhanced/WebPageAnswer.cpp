#include "enhanced/WebPageAnswer.h"

#include <algorithm>
#include <cctype>

#include "base/AsciiText.h"

namespace velmora {
namespace {

constexpr std::size_t longestTitle = 80;

bool saysHtml(std::string_view contentType, std::string_view lowerStart) {
    const std::string type = asciiLowerCase(contentType);
    if (type.starts_with("text/html") || type.starts_with("application/xhtml")) return true;
    const auto first = lowerStart.find_first_not_of(" \t\r\n\xef\xbb\xbf");
    if (first == std::string_view::npos) return false;
    const std::string_view rest = lowerStart.substr(first);
    return rest.starts_with("<!doctype html") || rest.starts_with("<html");
}

// The text of the first <title> element, its white space collapsed, shortened when long.
std::string titleOf(std::string_view page, std::string_view lowerPage) {
    const auto open = lowerPage.find("<title");
    if (open == std::string_view::npos) return {};
    const auto start = lowerPage.find('>', open);
    const auto end = lowerPage.find("</title", start);
    if (start == std::string_view::npos || end == std::string_view::npos) return {};
    std::string title;
    for (char c : page.substr(start + 1, end - start - 1)) {
        const bool space = std::isspace(static_cast<unsigned char>(c)) != 0;
        if (space && (title.empty() || title.back() == ' ')) continue;
        title += space ? ' ' : c;
    }
    if (!title.empty() && title.back() == ' ') title.pop_back();
    if (title.size() > longestTitle) title = title.substr(0, longestTitle) + "...";
    return title;
}

const char* advice() {
    return " A captive portal, a proxy or a login page may be in the way: sign in to the network in a web "
           "browser, then try again.";
}

}  // namespace

std::optional<std::string> WebPageAnswer::describe(std::string_view contentType,
                                                   std::span<const std::byte> start) {
    const std::string_view page(reinterpret_cast<const char*>(start.data()),
                                std::min(start.size(), sniffSize));
    const std::string lowerPage = asciiLowerCase(page);
    if (!saysHtml(contentType, lowerPage)) return std::nullopt;
    std::string what = "a web page";
    if (const std::string title = titleOf(page, lowerPage); !title.empty())
        what += " titled \"" + title + "\"";
    if (!contentType.empty()) what += " (Content-Type: " + std::string(contentType) + ")";
    return what;
}

WebPageAnswer WebPageAnswer::insteadOfCatalog(const std::string& what) {
    return WebPageAnswer("Apple's voice catalog was answered by " + what + ", not the catalog." + advice());
}

WebPageAnswer WebPageAnswer::insteadOfArchive(const std::string& what) {
    return WebPageAnswer("The download was answered by " + what + ", not the voice archive." + advice());
}

}  // namespace velmora
