#include "impl/http/CurlExchange.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <system_error>
#include <utility>

#include "impl/http/CertificateTrust.h"
#include "impl/http/CurlResult.h"
#include "impl/http/RedirectRule.h"
#include "impl/http/WebUrl.h"

using namespace HttpDownloader::HttpDownloadResultEnum;

namespace platform {

namespace {

/// Against a server that never ends its head.
constexpr std::size_t HEAD_LIMIT = std::size_t{1024} * 1024;

bool isSuccess(long status) { return status >= 200 && status <= 299; }

/// @param length a Content-Length field; anything else is no length and so not too large.
bool isTooLarge(const std::string& length) {
    std::size_t bytes = 0;
    const std::errc error = std::from_chars(length.data(), length.data() + length.size(), bytes).ec;
    return error == std::errc::result_out_of_range || bytes > BodyBuffer::LIMIT;
}

}  // namespace

ExchangeOrder::Clock::time_point ExchangeOrder::deadlineIn(std::chrono::milliseconds timeout) {
    using std::chrono::milliseconds;
    return Clock::now() + std::clamp(timeout, milliseconds(1), milliseconds(std::numeric_limits<int>::max()));
}

CurlExchange::CurlExchange(ExchangeOrder order, CertificateTrust& trust)
    : order_(std::move(order)), handle_(curl_easy_init(), curl_easy_cleanup), url_(order_.url) {
    if (handle_ == nullptr) {
        result_ = Failed;
        return;
    }
    setUp(trust);
}

void CurlExchange::setUp(CertificateTrust& trust) {
    CURL* const handle = handle_.get();
    curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(handle, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    curl_easy_setopt(handle, CURLOPT_FOLLOWLOCATION, 0L);
    curl_easy_setopt(handle, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    // A document is rare and small: an idle connection would only keep the server's thread, and end in surprises.
    curl_easy_setopt(handle, CURLOPT_FORBID_REUSE, 1L);
    // An end must not wait for a name that is being resolved, which may take the system half a minute.
    curl_easy_setopt(handle, CURLOPT_QUICK_EXIT, 1L);
    curl_easy_setopt(handle, CURLOPT_HEADERFUNCTION, &CurlExchange::onHeaderLine);
    curl_easy_setopt(handle, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, &CurlExchange::onBody);
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, this);
    curl_easy_setopt(handle, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(handle, CURLOPT_XFERINFOFUNCTION, &CurlExchange::onProgress);
    curl_easy_setopt(handle, CURLOPT_XFERINFODATA, this);
    trust.applyTo(handle);
}

bool CurlExchange::prepare() {
    if (result_) {
        return false;
    }
    const std::optional<WebUrl> parsed = parseWebUrl(url_);
    if (!parsed) {
        return end(MalformedUrl);
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(order_.deadline - ExchangeOrder::Clock::now());
    if (left.count() <= 0) {
        return end(TimedOut);
    }
    curl_easy_setopt(handle(), CURLOPT_URL, url_.c_str());
    curl_easy_setopt(handle(), CURLOPT_TIMEOUT_MS, static_cast<long>(left.count()));
    // An empty proxy is none, whatever the environment says; null leaves it to the environment.
    curl_easy_setopt(handle(), CURLOPT_PROXY, isLoopback(parsed->host) ? "" : nullptr);
    headSize_ = 0;
    answering_ = false;
    location_.clear();
    return true;
}

void CurlExchange::conclude(CURLcode code) {
    if (!location_.empty()) {
        followRedirect();
    } else if (!result_) {
        end(resultOf(code, answering_));
    }
}

CurlExchange::Result CurlExchange::result() const { return result_.value_or(Cancelled); }

long CurlExchange::status() const {
    long status = 0;
    if (handle_ != nullptr) {
        curl_easy_getinfo(handle_.get(), CURLINFO_RESPONSE_CODE, &status);
    }
    return status;
}

std::size_t CurlExchange::onHeaderLine(char* line, std::size_t, std::size_t size, void* self) noexcept {
    return static_cast<CurlExchange*>(self)->takeHeaderLine({line, size}) ? size : 0;
}

std::size_t CurlExchange::onBody(char* bytes, std::size_t, std::size_t size, void* self) noexcept {
    auto* const exchange = static_cast<CurlExchange*>(self);
    return exchange->body_.append(bytes, size) || exchange->end(BodyTooLarge) ? size : 0;
}

int CurlExchange::onProgress(void* self, curl_off_t total, curl_off_t arrived, curl_off_t, curl_off_t) noexcept {
    const auto& watch = static_cast<CurlExchange*>(self)->order_.watch;
    return watch(static_cast<double>(total), static_cast<double>(arrived)) ? 0 : 1;
}

/// @return false if nothing more of this answer is wanted.
bool CurlExchange::takeHeaderLine(std::string_view line) {
    headSize_ += line.size();
    if (headSize_ > HEAD_LIMIT) {
        return end(Failed);
    }
    const bool last = line == "\r\n" || line == "\n";
    return !last || judgeHead();
}

bool CurlExchange::judgeHead() {
    const long answer = status();
    if (answer < 200) {
        return true;  // the answer itself is still to come
    }
    answering_ = true;
    location_ = isRedirect(answer) ? header("Location") : std::string();
    if (!location_.empty()) {
        return false;
    }
    if (!order_.anyStatus && !isSuccess(answer)) {
        return end(StatusRefused);
    }
    return !isTooLarge(header("Content-Length")) || end(BodyTooLarge);
}

/// @return the value of the answer's field; empty if there is none.
std::string CurlExchange::header(const char* name) const {
    curl_header* found = nullptr;
    return curl_easy_header(handle(), name, 0, CURLH_HEADER, -1, &found) == CURLHE_OK ? found->value : std::string();
}

/// @return false always, for the one who asks whether to go on.
bool CurlExchange::end(Result result) {
    result_ = result;
    if (result != Success) {
        body_.wipe();
    }
    return false;
}

void CurlExchange::followRedirect() {
    const std::string target = resolveUrl(url_, location_);
    if (++redirects_ > MAX_REDIRECTS || !mayFollow(url_, target)) {
        end(RedirectRefused);
        return;
    }
    url_ = target;
}

}  // namespace platform
