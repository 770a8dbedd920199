#include "app/ErrorText.h"

#include <stdexcept>

namespace velmora {

std::string errorText(const std::exception_ptr& error) {
    try {
        std::rethrow_exception(error);
    } catch (const std::exception& failure) {
        return failure.what();
    } catch (...) {
        return "The operation failed.";
    }
}

}  // namespace velmora
