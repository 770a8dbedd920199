#include "UtteranceChildren.h"

#include <sys/wait.h>

#include <algorithm>

namespace velmora::provider {

void UtteranceChildren::reap() {
    std::erase_if(children_, [](const Child& child) { return ::waitpid(child.pid, nullptr, WNOHANG) != 0; });
}

bool UtteranceChildren::mayStart(const std::string& client) const {
    const auto count = std::ranges::count(children_, client, &Child::client);
    return static_cast<std::size_t>(count) < maximumPerClient;
}

void UtteranceChildren::add(pid_t child, std::string client) {
    children_.push_back({child, std::move(client)});
}

}  // namespace velmora::provider
