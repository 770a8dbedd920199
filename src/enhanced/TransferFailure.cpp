#include "enhanced/TransferFailure.h"

#include <curl/curl.h>

namespace velmora {

TransferFailure::TransferFailure(Kind kind, const std::string& text, std::string detail)
    : std::runtime_error(text), kind_(kind), detail_(std::move(detail)) {}

TransferFailure TransferFailure::cancelled() { return {Kind::cancelled, "The download was cancelled."}; }

TransferFailure TransferFailure::timedOut(std::chrono::seconds stallLimit) {
    const auto seconds = stallLimit.count();
    return {Kind::timedOut, "The server stopped answering for " + std::to_string(seconds) +
                                (seconds == 1 ? " second." : " seconds.")};
}

TransferFailure TransferFailure::fromCurl(int code, const std::string& detail,
                                          std::chrono::seconds stallLimit,
                                          const std::optional<ProxyVariable>& proxy) {
    const std::string theProxy =
        proxy ? "the proxy that " + proxy->name + " names (" + proxy->value + ")" : "";
    switch (static_cast<CURLcode>(code)) {
        case CURLE_OPERATION_TIMEDOUT: {
            TransferFailure failure = timedOut(stallLimit);
            failure.detail_ = detail;
            return failure;
        }
        case CURLE_COULDNT_RESOLVE_HOST:
            return {Kind::hostNotFound, "The server's name could not be found.", detail};
        case CURLE_COULDNT_RESOLVE_PROXY:
            return {Kind::hostNotFound,
                    proxy ? "The name of " + theProxy + " could not be found."
                          : "The proxy's name could not be found.",
                    detail};
        case CURLE_COULDNT_CONNECT:
            return {Kind::cannotConnect,
                    proxy ? "Could not connect to the server, or to " + theProxy + "."
                          : "Could not connect to the server.",
                    detail};
        case CURLE_SSL_CONNECT_ERROR:
        case CURLE_PEER_FAILED_VERIFICATION:
        case CURLE_SSL_CACERT_BADFILE:
        case CURLE_SSL_CERTPROBLEM:
        case CURLE_SSL_CIPHER:
            return {Kind::insecure, "A secure connection to the server could not be made.", detail};
        case CURLE_PARTIAL_FILE:
        case CURLE_RECV_ERROR:
        case CURLE_SEND_ERROR:
        case CURLE_GOT_NOTHING:
        case CURLE_HTTP2:
        case CURLE_HTTP2_STREAM:
            return {Kind::connectionLost, "The network connection was lost.", detail};
        case CURLE_TOO_MANY_REDIRECTS:
            return {Kind::other, "The server redirected the request too many times.", detail};
        case CURLE_UNSUPPORTED_PROTOCOL:
        case CURLE_URL_MALFORMAT:
            return {Kind::other, "The address is not an http or https address.", detail};
        default:
            break;
    }
    std::string text = "The transfer failed: " + std::string(curl_easy_strerror(static_cast<CURLcode>(code)));
    if (!detail.empty()) text += " (" + detail + ")";
    return {Kind::other, text + ".", detail};
}

}  // namespace velmora
