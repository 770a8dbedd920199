#pragma once

#include <exception>
#include <string>

namespace velmora {

// The user's text of a caught error: its what(), or a plain sentence for anything else.
std::string errorText(const std::exception_ptr& error);

}  // namespace velmora
