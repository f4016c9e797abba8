#pragma once

#include <curl/curl.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "http/HttpDownloadResult.h"
#include "impl/http/BodyBuffer.h"
#include "impl/http/BodyFraming.h"
#include "impl/http/CertificateTrust.h"

namespace platform {

/// What an exchange is to fetch.
struct ExchangeOrder {
    using Clock = std::chrono::steady_clock;

    std::string url;
    Clock::time_point deadline;  ///< for everything, redirects included
    bool anyStatus;              ///< whether an error status is an answer as well, and one without a body

    /// Told the body's total size, 0 if it is not known, and how much of it has arrived: often, at each piece, and last
    /// of all when all of it is there. May be empty.
    std::function<void(double, double)> watch;

    /// @return now and so much more, at least a millisecond, at most some weeks.
    static Clock::time_point deadlineIn(std::chrono::milliseconds timeout);
};

/// A document's way over the network: a request, the redirects that may be followed, the body. The caller lets libcurl
/// work on the handle, in whichever of its ways:
///
///     while (exchange.prepare()) { exchange.conclude(... work on exchange.handle() ...); }
///
/// One thread at a time.
class CurlExchange {
public:
    using Result = HttpDownloader::HttpDownloadResultEnum::HttpDownloadResult;

    /// @param trust must outlive this.
    CurlExchange(ExchangeOrder order, CertificateTrust& trust);

    CurlExchange(const CurlExchange&) = delete;
    CurlExchange& operator=(const CurlExchange&) = delete;

    /// Makes the handle ready for the next request. @return false if there is none any more: see result().
    bool prepare();

    CURL* handle() const { return handle_.get(); }

    /// Takes in how the request ended.
    void conclude(CURLcode code);

    /// Cancelled until the exchange has ended.
    Result result() const;

    /// Of the last answer; 0 if there was none.
    long status() const;

    /// The body; empty unless the result is Success.
    std::string takeBody() { return body_.take(); }

private:
    static std::size_t onHeaderLine(char* line, std::size_t one, std::size_t size, void* self) noexcept;
    static std::size_t onBody(char* bytes, std::size_t one, std::size_t size, void* self) noexcept;
    static int onProgress(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t) noexcept;

    void setUp();
    bool takeHeaderLine(std::string_view line);
    bool judgeHead();
    bool judgeFraming();
    bool takePiece(const char* bytes, std::size_t size);
    Result judgeBody() const;
    void tellProgress() const;
    std::vector<std::string> headers(const char* name) const;
    bool end(Result result);
    void followRedirect();

    const ExchangeOrder order_;
    TlsPeer peer_;
    const std::unique_ptr<CURL, void (*)(CURL*)> handle_;
    std::string url_;
    int redirects_ = 0;
    std::size_t headSize_ = 0;
    bool answering_ = false;  ///< the head of the answer has come whole
    std::string location_;    ///< where the answer redirects to
    BodyFraming framing_;     ///< of the answer
    BodyBuffer body_;
    std::optional<Result> result_;
};

}  // namespace platform
