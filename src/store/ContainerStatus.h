#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace velmora {

// Whether the program has a folder in common with the voice extension, and why not.
class ContainerStatus {
public:
    struct Ready {
        std::filesystem::path folder;
        bool operator==(const Ready&) const = default;
    };
    struct NoContainer {
        std::vector<std::string> entitled;
        bool operator==(const NoContainer&) const = default;
    };
    struct NotEntitled {
        bool operator==(const NotEntitled&) const = default;
    };

    ContainerStatus(Ready value) : value_(std::move(value)) {}
    ContainerStatus(NoContainer value) : value_(std::move(value)) {}
    ContainerStatus(NotEntitled value) : value_(value) {}

    const std::variant<Ready, NoContainer, NotEntitled>& value() const { return value_; }
    bool isReady() const { return std::holds_alternative<Ready>(value_); }
    // "ready", "noContainer" or "notEntitled".
    std::string caseName() const;
    // The text the user is shown for this status; absent when ready.
    std::optional<std::string> explanation() const;

    bool operator==(const ContainerStatus&) const = default;

private:
    std::variant<Ready, NoContainer, NotEntitled> value_;
};

}  // namespace velmora
