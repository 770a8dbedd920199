#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <stop_token>
#include <string>

namespace velmora {

// One HTTP GET over libcurl with the rules every request of the program shares: redirects
// followed, http and https only, a limit on connecting and on silence (60 seconds), the extra
// certificate authority named by VELMORA_CA_FILE, no cache (libcurl keeps none), no added
// header. A stop request aborts the transfer at once.
class HttpTransfer {
public:
    // Receives each piece of the body of a 200 answer, with the total length the server
    // announced (-1 when it announced none). It may throw to abort; run() rethrows that.
    using BodySink = std::function<void(std::span<const std::byte> piece, std::int64_t announced)>;

    static constexpr std::chrono::seconds defaultStallLimit{60};

    // `stallLimit`: how long connecting may take, and how long the server may send nothing.
    explicit HttpTransfer(const std::string& url, std::chrono::seconds stallLimit = defaultStallLimit);
    ~HttpTransfer();
    HttpTransfer(const HttpTransfer&) = delete;
    HttpTransfer& operator=(const HttpTransfer&) = delete;

    // Runs the transfer and returns the final answer's status. The body of any other status than
    // 200 is not passed on: the transfer stops as soon as it begins. Throws TransferFailure for a
    // failed or cancelled transfer, or what the sink threw.
    long run(const BodySink& sink, std::stop_token stop);

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace velmora
