#pragma once

#include <chrono>
#include <optional>
#include <stdexcept>
#include <string>

#include "enhanced/ProxyVariable.h"

namespace velmora {

// A transfer that ended without a complete answer: cancelled, timed out, or the network failed.
// The text says what happened in words a user understands; `detail` keeps the library's own.
class TransferFailure : public std::runtime_error {
public:
    enum class Kind { cancelled, timedOut, hostNotFound, cannotConnect, insecure, connectionLost, other };

    TransferFailure(Kind kind, const std::string& text, std::string detail = {});

    static TransferFailure cancelled();
    // The server sent nothing for `stallLimit`.
    static TransferFailure timedOut(std::chrono::seconds stallLimit);
    // The failure for a libcurl result code, with the transfer's error buffer as detail; a time-out
    // names the transfer's stall limit, and a connection that failed names the proxy the
    // environment set, if any, since that may be what could not be reached.
    static TransferFailure fromCurl(int code, const std::string& detail, std::chrono::seconds stallLimit,
                                    const std::optional<ProxyVariable>& proxy = std::nullopt);

    Kind kind() const { return kind_; }
    const std::string& detail() const { return detail_; }

private:
    Kind kind_;
    std::string detail_;
};

}  // namespace velmora
