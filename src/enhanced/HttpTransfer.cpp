#include "enhanced/HttpTransfer.h"

#include <curl/curl.h>
#include <openssl/ssl.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <exception>
#include <mutex>
#include <new>
#include <string_view>

#include "base/AsciiText.h"
#include "base/Environment.h"
#include "enhanced/TransferFailure.h"

namespace velmora {
namespace {

constexpr long receiveBufferSize = 512L * 1024;

void initialiseCurlOnce() {
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

struct EasyDeleter {
    void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
};
struct MultiDeleter {
    void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
};

// Adds the extra certificate authority to the ones the system trusts (CURLOPT_CAINFO would
// replace them).
CURLcode addCertificateAuthority(CURL*, void* context, void* file) {
    auto* ssl = static_cast<SSL_CTX*>(context);
    const auto* path = static_cast<const std::string*>(file);
    return SSL_CTX_load_verify_locations(ssl, path->c_str(), nullptr) == 1 ? CURLE_OK
                                                                           : CURLE_SSL_CACERT_BADFILE;
}

std::int64_t decimal(std::string_view text) {
    std::int64_t value = -1;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() && value >= 0 ? value : -1;
}

// "bytes START-END/TOTAL" (TOTAL may be "*").
void readContentRange(std::string_view value, HttpTransfer::Head& head) {
    if (!value.starts_with("bytes ")) return;
    value.remove_prefix(6);
    const auto dash = value.find('-');
    const auto slash = value.find('/');
    if (dash == std::string_view::npos || slash == std::string_view::npos || slash < dash) return;
    head.rangeStart = decimal(value.substr(0, dash));
    head.rangeTotal = decimal(value.substr(slash + 1));
}

// One header line of an answer; a status line starts the head of a new answer (a redirect's
// target, or the answer after "100 Continue").
void readHeaderLine(std::string_view line, HttpTransfer::Head& head) {
    if (line.starts_with("HTTP/")) {
        head = {};
        return;
    }
    const auto colon = line.find(':');
    if (colon == std::string_view::npos) return;
    const std::string name = asciiLowerCase(asciiTrimmed(line.substr(0, colon)));
    const std::string_view value = asciiTrimmed(line.substr(colon + 1));
    if (name == "content-type") head.contentType = value;
    if (name == "etag") head.validator = value;
    if (name == "last-modified" && head.validator.empty()) head.validator = value;
    if (name == "content-range") readContentRange(value, head);
}

}  // namespace

struct HttpTransfer::State {
    std::unique_ptr<CURL, EasyDeleter> easy{curl_easy_init()};
    std::string url;
    std::chrono::seconds stallLimit{};
    std::string caFile;
    char errorText[CURL_ERROR_SIZE] = {};
    const BodySink* sink = nullptr;
    Head head;
    std::string range;  // "OFFSET-" when resuming
    std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> requestHeaders{nullptr, &curl_slist_free_all};
    long refusedStatus = 0;        // a status other than 200 (or 206 when resuming) whose body was refused
    std::exception_ptr sinkError;  // what the sink threw

    static size_t write(char* data, size_t size, size_t count, void* self);
    static size_t header(char* data, size_t size, size_t count, void* self);
    size_t receive(const char* data, size_t length);
    curl_off_t bytesHeard() const;
    void configure();
    CURLcode perform(std::stop_token stop);
};

size_t HttpTransfer::State::write(char* data, size_t size, size_t count, void* self) {
    return static_cast<State*>(self)->receive(data, size * count);
}

size_t HttpTransfer::State::header(char* data, size_t size, size_t count, void* self) {
    readHeaderLine(std::string_view(data, size * count), static_cast<State*>(self)->head);
    return size * count;
}

size_t HttpTransfer::State::receive(const char* data, size_t length) {
    long status = 0;
    curl_easy_getinfo(easy.get(), CURLINFO_RESPONSE_CODE, &status);
    if (status != 200 && !(status == 206 && !range.empty())) {
        refusedStatus = status;
        return 0;
    }
    curl_off_t announced = -1;
    curl_easy_getinfo(easy.get(), CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &announced);
    head.status = status;
    head.announced = static_cast<std::int64_t>(announced);
    try {
        (*sink)(std::as_bytes(std::span(data, length)), head);
    } catch (...) {
        sinkError = std::current_exception();
        return 0;
    }
    return length;
}

void HttpTransfer::State::configure() {
    CURL* handle = easy.get();
    curl_easy_setopt(handle, CURLOPT_URL, url.c_str());
    curl_easy_setopt(handle, CURLOPT_HTTPGET, 1L);
    curl_easy_setopt(handle, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(handle, CURLOPT_MAXREDIRS, 16L);
    curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(handle, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT, static_cast<long>(stallLimit.count()));
    curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
    // Large reads: an archive of hundreds of megabytes then arrives in fewer receive and write
    // calls (libcurl's default is 16 KiB).
    curl_easy_setopt(handle, CURLOPT_BUFFERSIZE, receiveBufferSize);
    curl_easy_setopt(handle, CURLOPT_ERRORBUFFER, errorText);
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, &State::write);
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, this);
    curl_easy_setopt(handle, CURLOPT_HEADERFUNCTION, &State::header);
    curl_easy_setopt(handle, CURLOPT_HEADERDATA, this);
    if (!range.empty()) {
        curl_easy_setopt(handle, CURLOPT_RANGE, range.c_str());
        curl_easy_setopt(handle, CURLOPT_HTTPHEADER, requestHeaders.get());
    }
    if (auto file = environmentValue("VELMORA_CA_FILE")) {
        caFile = *file;
        curl_easy_setopt(handle, CURLOPT_SSL_CTX_FUNCTION, &addCertificateAuthority);
        curl_easy_setopt(handle, CURLOPT_SSL_CTX_DATA, &caFile);
    }
}

// Header and body bytes received so far.
curl_off_t HttpTransfer::State::bytesHeard() const {
    curl_off_t body = 0;
    long headers = 0;
    curl_easy_getinfo(easy.get(), CURLINFO_SIZE_DOWNLOAD_T, &body);
    curl_easy_getinfo(easy.get(), CURLINFO_HEADER_SIZE, &headers);
    return body + headers;
}

// The multi interface lets a stop request wake the wait for data at once. Silence is timed here
// rather than by libcurl's low-speed limit, whose average over several seconds lets a burst of
// data hide a server that has gone quiet.
CURLcode HttpTransfer::State::perform(std::stop_token stop) {
    using Clock = std::chrono::steady_clock;
    std::unique_ptr<CURLM, MultiDeleter> multi{curl_multi_init()};
    curl_multi_add_handle(multi.get(), easy.get());
    std::stop_callback wake(stop, [&multi] { curl_multi_wakeup(multi.get()); });
    curl_off_t heard = 0;
    Clock::time_point lastHeard = Clock::now();
    int running = 1;
    while (running > 0) {
        if (stop.stop_requested() || Clock::now() - lastHeard >= stallLimit) {
            curl_multi_remove_handle(multi.get(), easy.get());
            throw stop.stop_requested() ? TransferFailure::cancelled()
                                        : TransferFailure::timedOut(stallLimit);
        }
        if (CURLMcode failure = curl_multi_perform(multi.get(), &running); failure != CURLM_OK) {
            throw TransferFailure(TransferFailure::Kind::other, curl_multi_strerror(failure));
        }
        if (const curl_off_t now = bytesHeard(); now != heard) {
            heard = now;
            lastHeard = Clock::now();
        }
        if (running > 0) curl_multi_poll(multi.get(), nullptr, 0, 250, nullptr);
    }
    CURLcode result = CURLE_OK;
    int queued = 0;
    while (CURLMsg* message = curl_multi_info_read(multi.get(), &queued)) {
        if (message->msg == CURLMSG_DONE) result = message->data.result;
    }
    curl_multi_remove_handle(multi.get(), easy.get());
    return result;
}

HttpTransfer::HttpTransfer(const std::string& url, std::chrono::seconds stallLimit) {
    initialiseCurlOnce();
    state_ = std::make_unique<State>();
    if (!state_->easy) throw std::bad_alloc();
    state_->url = url;
    state_->stallLimit = stallLimit;
}

HttpTransfer::~HttpTransfer() = default;

void HttpTransfer::resumeFrom(std::int64_t offset, const std::string& validator) {
    state_->range = std::to_string(offset) + "-";
    state_->requestHeaders.reset(curl_slist_append(nullptr, ("If-Range: " + validator).c_str()));
    if (!state_->requestHeaders) throw std::bad_alloc();
}

long HttpTransfer::run(const BodySink& sink, std::stop_token stop) {
    State& state = *state_;
    state.sink = &sink;
    state.configure();
    const CURLcode result = state.perform(stop);
    if (state.sinkError) std::rethrow_exception(state.sinkError);
    if (state.refusedStatus != 0) return state.refusedStatus;
    if (result != CURLE_OK)
        throw TransferFailure::fromCurl(result, state.errorText, state.stallLimit,
                                        ProxyVariable::forAddress(state.url));
    long status = 0;
    curl_easy_getinfo(state.easy.get(), CURLINFO_RESPONSE_CODE, &status);
    return status;
}

}  // namespace velmora
