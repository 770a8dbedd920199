#pragma once

#include <cstdint>
#include <string>
#include <variant>

namespace velmora {

// The state of one enhanced voice on the screen. Two states are equal when they are the same
// case with equal payloads.
struct VoiceState {
    struct Available {
        bool operator==(const Available&) const = default;
    };
    struct Downloading {
        double fraction = 0;  // 0 to 1
        bool operator==(const Downloading&) const = default;
    };
    struct Unpacking {
        bool operator==(const Unpacking&) const = default;
    };
    struct Installed {
        std::int64_t size = 0;
        bool operator==(const Installed&) const = default;
    };
    struct Failed {
        std::string message;
        bool operator==(const Failed&) const = default;
    };
    // Queued behind the installs that run; it starts when one of them ends.
    struct Waiting {
        bool operator==(const Waiting&) const = default;
    };
    using Value = std::variant<Available, Downloading, Unpacking, Installed, Failed, Waiting>;

    Value value;

    template <typename Case>
    bool is() const {
        return std::holds_alternative<Case>(value);
    }

    bool operator==(const VoiceState&) const = default;
};

// What activating a voice's row does in each state.
enum class RowAction { install, cancel, confirmRemoval, none };
RowAction rowAction(const VoiceState& state);

}  // namespace velmora
