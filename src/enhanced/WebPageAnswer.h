#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

namespace velmora {

// A web page that came back where the catalog or an archive was asked for: a captive portal, a
// proxy's notice or a login page. Its text names what came back (title and Content-Type), so
// the user can tell which network device stands in the way.
class WebPageAnswer : public std::runtime_error {
public:
    // How much of a body is kept to find the page's title.
    static constexpr std::size_t sniffSize = 16'384;

    // What came back, named for the user ("a web page titled "Sign in" (Content-Type: text/html)"),
    // when the Content-Type or the start of the body says HTML; nothing otherwise.
    static std::optional<std::string> describe(std::string_view contentType,
                                               std::span<const std::byte> start);

    static WebPageAnswer insteadOfCatalog(const std::string& what);
    static WebPageAnswer insteadOfArchive(const std::string& what);

private:
    explicit WebPageAnswer(const std::string& text) : std::runtime_error(text) {}
};

}  // namespace velmora
