#include "impl/http/CurlExchange.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "impl/http/CurlResult.h"
#include "impl/http/DocumentEnd.h"
#include "impl/http/RedirectRule.h"
#include "impl/http/WebUrl.h"

using namespace HttpDownloader::HttpDownloadResultEnum;

namespace platform {

namespace {

/// Against a server that never ends its head.
constexpr std::size_t HEAD_LIMIT = std::size_t{256} * 1024;

/// Of one name in a head: each is looked for among all fields, of which a server may send ten thousand.
constexpr std::size_t MOST_FIELDS = 16;

/// What begins so is compressed (RFC 1952, 2.3.1); no document in any encoding does.
constexpr std::string_view GZIP_MEMBER = "\x1f\x8b\x08";

/// A part of a file is none, and was not asked for.
bool isSuccess(long status) { return status >= 200 && status <= 299 && status != 206; }

/// Whatever the head says besides (RFC 9110, 6.4.1).
bool isWithoutBody(long status) { return status == 204 || status == 304; }

bool isSecure(const std::string& url) {
    const std::optional<WebUrl> parsed = parseWebUrl(url);
    return parsed && parsed->scheme == "https";
}

}  // namespace

ExchangeOrder::Clock::time_point ExchangeOrder::deadlineIn(std::chrono::milliseconds timeout) {
    using std::chrono::milliseconds;
    return Clock::now() + std::clamp(timeout, milliseconds(1), milliseconds(std::numeric_limits<int>::max()));
}

CurlExchange::CurlExchange(ExchangeOrder order, CertificateTrust& trust)
    : order_(std::move(order)), peer_{trust}, handle_(curl_easy_init(), curl_easy_cleanup), url_(order_.url) {
    if (handle_ == nullptr) {
        result_ = Failed;
        return;
    }
    setUp();
}

void CurlExchange::setUp() {
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
    // The length is compared here: libcurl would stop reading at the stated one, and nobody would know of more.
    curl_easy_setopt(handle, CURLOPT_IGNORE_CONTENT_LENGTH, 1L);
    curl_easy_setopt(handle, CURLOPT_HEADERFUNCTION, &CurlExchange::onHeaderLine);
    curl_easy_setopt(handle, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, &CurlExchange::onBody);
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, this);
    curl_easy_setopt(handle, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(handle, CURLOPT_XFERINFOFUNCTION, &CurlExchange::onProgress);
    curl_easy_setopt(handle, CURLOPT_XFERINFODATA, this);
    CertificateTrust::apply(peer_, handle);
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
    framing_ = {};
    peer_.endTold = false;
    return true;
}

void CurlExchange::conclude(CURLcode code) {
    if (!location_.empty()) {
        followRedirect();
    } else if (!result_) {
        end(code == CURLE_OK ? judgeBody() : resultOf(code, answering_));
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
    return static_cast<CurlExchange*>(self)->takePiece(bytes, size) ? size : 0;
}

int CurlExchange::onProgress(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t) noexcept {
    static_cast<CurlExchange*>(self)->tellProgress();
    return 0;
}

void CurlExchange::tellProgress() const {
    if (order_.watch) {
        order_.watch(static_cast<double>(framing_.length.value_or(0)), static_cast<double>(body_.size()));
    }
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
    const std::vector<std::string> locations = headers("Location");
    location_ = isRedirect(answer) && !locations.empty() ? locations.front() : std::string();
    if (!location_.empty()) {
        return false;
    }
    if (!order_.anyStatus && !isSuccess(answer)) {
        return end(StatusRefused);
    }
    framing_ = framingOf(headers("Content-Length"), headers("Transfer-Encoding"), headers("Content-Encoding"));
    if (isWithoutBody(answer)) {
        framing_.length = 0;
    }
    return judgeFraming();
}

/// @return false if nothing more of this answer is wanted.
bool CurlExchange::judgeFraming() {
    if (!framing_.valid) {
        return end(Failed);
    }
    if (framing_.coded) {
        return end(BodyCoded);
    }
    if (framing_.length > BodyBuffer::LIMIT) {
        return end(BodyTooLarge);
    }
    return framing_.length != 0U || end(judgeBody());
}

/// @return false if nothing more of this answer is wanted: the connection need not end with its body.
bool CurlExchange::takePiece(const char* bytes, std::size_t size) {
    if (!body_.append(bytes, size)) {
        return end(BodyTooLarge);
    }
    tellProgress();
    if (!framing_.length || body_.size() < *framing_.length) {
        return true;
    }
    return end(body_.size() == *framing_.length ? judgeBody() : BodyOverrun);
}

/// How the exchange has gone if nothing more is to come.
CurlExchange::Result CurlExchange::judgeBody() const {
    if (!answering_) {
        return ConnectionFailed;  // in the midst of the head, or after interim answers alone
    }
    const bool isFramed = framing_.length || framing_.chunked;
    if (body_.size() < framing_.length.value_or(0) || (!isFramed && isSecure(url_) && !peer_.endTold)) {
        return BodyCut;
    }
    if (order_.anyStatus) {
        return Success;
    }
    if (body_.size() == 0) {
        return BodyEmpty;
    }
    if (body_.view().starts_with(GZIP_MEMBER)) {
        return BodyCoded;  // some servers pack a file and do not say so
    }
    // Without TLS nobody signs for the end of a connection: whatever broke it looks the same.
    return isFramed || isSecure(url_) || endsAsDocument(body_.view()) ? Success : BodyCut;
}

/// @return the values of the answer's first fields of that name, in order.
std::vector<std::string> CurlExchange::headers(const char* name) const {
    std::vector<std::string> values;
    curl_header* found = nullptr;
    while (values.size() < MOST_FIELDS &&
           curl_easy_header(handle(), name, values.size(), CURLH_HEADER, -1, &found) == CURLHE_OK) {
        values.emplace_back(found->value);
    }
    return values;
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
