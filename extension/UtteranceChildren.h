#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string>
#include <vector>

namespace velmora::provider {

// The child processes speaking utterances, by the bus client that asked for each. An utterance
// lasts as long as its client takes to read it, however slowly; what bounds the provider is the
// number of utterances one client may have in progress at once.
class UtteranceChildren {
public:
    static constexpr std::size_t maximumPerClient = 32;

    // Reaps the children that have ended.
    void reap();
    // Whether `client` (a unique bus name) may start another utterance now.
    bool mayStart(const std::string& client) const;
    void add(pid_t child, std::string client);

private:
    struct Child {
        pid_t pid;
        std::string client;
    };
    std::vector<Child> children_;
};

}  // namespace velmora::provider
