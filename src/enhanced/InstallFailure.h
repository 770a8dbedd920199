#pragma once

#include <cstdint>
#include <exception>
#include <stdexcept>
#include <string>

namespace velmora {

// Why an enhanced voice could not be installed. The text of noContainer is computed when it is
// asked for, so that it tells the container's state at that moment.
class InstallFailure : public std::exception {
public:
    enum class Kind { noContainer, digestMismatch, noVoiceInArchive };

    static InstallFailure noContainer() { return InstallFailure(Kind::noContainer); }
    static InstallFailure digestMismatch() { return InstallFailure(Kind::digestMismatch); }
    static InstallFailure noVoiceInArchive() { return InstallFailure(Kind::noVoiceInArchive); }

    Kind kind() const { return kind_; }
    std::string text() const;
    const char* what() const noexcept override;

    bool operator==(const InstallFailure& other) const { return kind_ == other.kind_; }

private:
    explicit InstallFailure(Kind kind) : kind_(kind) {}

    Kind kind_;
    mutable std::string text_;
};

// The unpacked voice would not fit in the free space of the container.
class NotEnoughSpace : public std::runtime_error {
public:
    NotEnoughSpace(std::int64_t needed, std::int64_t available);

    std::int64_t needed() const { return needed_; }
    std::int64_t available() const { return available_; }

private:
    std::int64_t needed_;
    std::int64_t available_;
};

}  // namespace velmora
