#pragma once

#include <string>
#include <utility>

#include "http/HttpTransport.h"
#include "http/Request.h"
#include "http/Response.h"
#include "impl/http/CurlTransport.h"

namespace integration {

/// A network of its own for each fault, since one remembers the names that it has looked up. Nothing that is to end by
/// itself is hurried; what would not is ended after a second.
class PatientTransport : public platform::HttpTransport {
public:
    /// @param endless the host whose transfers do not end by themselves; empty: none.
    PatientTransport(std::string caFile, std::string endless)
        : network_(std::move(caFile)), endless_(std::move(endless)) {}

    bool start(Transfer transfer) override {
        transfer.timeoutSeconds = secondsFor(transfer.url);
        return network_.start(std::move(transfer));
    }
    void cancel(std::uint64_t downloader) override { network_.cancel(downloader); }
    Result send(const tessel::http::Request& request, tessel::http::Response& response) override {
        request.getOptions()->requestTimeout = secondsFor(request.getUrl()) * 1000;
        return network_.send(request, response);
    }

private:
    long secondsFor(const std::string& url) const {
        const bool ends = endless_.empty() || url.find(endless_) == std::string::npos;
        return ends ? 600 : 1;
    }

    platform::CurlTransport network_;
    const std::string endless_;
};

}  // namespace integration
