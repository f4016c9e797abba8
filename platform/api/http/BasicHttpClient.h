#pragma once

#include <memory>

#include "http/HttpDownloadResult.h"
#include "http/Request.h"
#include "http/Response.h"

namespace tessel::http {

/// Sends requests and waits for their answers. Schemes, redirects, sizes, certificates and proxies: as told at
/// HttpDownloader. Any thread; the caller must be ready to wait as long as the request's timeout.
class BasicHttpClient {
public:
    virtual ~BasicHttpClient() = default;

    /// Waits for the whole answer. An answer with an error status is an answer too, and so is one without a body: body
    /// and status are in the response, and the result is Success.
    /// @return otherwise what went wrong; the response's body is empty then.
    virtual HttpDownloader::HttpDownloadResultEnum::HttpDownloadResult send(const std::shared_ptr<Request>& request,
                                                                            Response& response) = 0;
};

}  // namespace tessel::http
