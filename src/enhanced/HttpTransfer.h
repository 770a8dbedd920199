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
// header unless a resumed transfer asks for a range. The proxy variables libcurl reads
// (https_proxy, http_proxy, no_proxy) are honoured. A stop request aborts the transfer at once.
class HttpTransfer {
public:
    // What the server said about the body being received (the last answer, after redirects).
    struct Head {
        long status = 0;
        std::int64_t announced = -1;   // Content-Length, -1 when none
        std::string contentType;       // as sent, empty when none
        std::string validator;         // the ETag, else Last-Modified, empty when neither
        std::int64_t rangeStart = -1;  // of a 206's Content-Range, -1 when none
        std::int64_t rangeTotal = -1;  // the whole file's length a 206 names, -1 when unknown
    };

    // Receives each piece of the body of a 200 answer (or of a 206 when resuming), with the
    // answer's head. It may throw to abort; run() rethrows that.
    using BodySink = std::function<void(std::span<const std::byte> piece, const Head& head)>;

    static constexpr std::chrono::seconds defaultStallLimit{60};

    // `stallLimit`: how long connecting may take, and how long the server may send nothing.
    explicit HttpTransfer(const std::string& url, std::chrono::seconds stallLimit = defaultStallLimit);
    ~HttpTransfer();
    HttpTransfer(const HttpTransfer&) = delete;
    HttpTransfer& operator=(const HttpTransfer&) = delete;

    // Asks for the bytes from `offset` on, only if the file still has `validator` (If-Range);
    // a 206 answer's body is then passed on too.
    void resumeFrom(std::int64_t offset, const std::string& validator);

    // Runs the transfer and returns the final answer's status. The body of any other status than
    // 200 (or 206 when resuming) is not passed on: the transfer stops as soon as it begins. Throws
    // TransferFailure for a failed or cancelled transfer, or what the sink threw.
    long run(const BodySink& sink, std::stop_token stop);

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace velmora
