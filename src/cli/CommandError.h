#pragma once

#include <stdexcept>

namespace velmora::cli {

// A failure whose text is meant for the user as it stands.
class CommandError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace velmora::cli
