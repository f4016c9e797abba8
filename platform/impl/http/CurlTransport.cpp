#include "impl/http/CurlTransport.h"

#include <mutex>
#include <utility>

#include <curl/curl.h>

#include "http/Request.h"
#include "http/Response.h"
#include "impl/http/CertificateTrust.h"
#include "impl/http/CompletionThread.h"
#include "impl/http/CurlExchange.h"
#include "impl/http/CurlMemory.h"
#include "impl/http/RequestRunner.h"
#include "impl/http/SigpipeGuard.h"
#include "impl/http/TransferThread.h"

using namespace HttpDownloader::HttpDownloadResultEnum;

namespace platform {

namespace {

/// Once for the process, and for its whole life: other users of libcurl may be about.
CURLcode initialiseCurl() {
    static const CURLcode once = initialiseCurlWithWipedMemory();
    return once;
}

}  // namespace

class CurlTransport::Engine {
public:
    explicit Engine(std::string caFile) : trust(std::move(caFile)) {}

    const CURLcode initialised = initialiseCurl();  ///< before the threads, which use the library
    CertificateTrust trust;
    RequestRunner requests;
    CompletionThread completions;
    TransferThread transfers{trust, completions};
    std::mutex stopMutex;
};

CurlTransport::CurlTransport(std::string caFile) : engine_(std::make_unique<Engine>(std::move(caFile))) {}

CurlTransport::~CurlTransport() { stop(); }

bool CurlTransport::start(Transfer transfer) { return engine_->transfers.start(std::move(transfer)); }

void CurlTransport::cancel(std::uint64_t downloader) { engine_->transfers.cancel(downloader); }

HttpDownloadResult CurlTransport::send(const tessel::http::Request& request, tessel::http::Response& response) {
    response = tessel::http::Response();
    const SigpipeGuard guard;  // outlives the exchange, whose end may write to the connection
    const auto timeout = std::chrono::milliseconds(request.getOptions()->requestTimeout);
    CurlExchange exchange({request.getUrl(), ExchangeOrder::deadlineIn(timeout), true, {}}, engine_->trust);
    engine_->requests.run(exchange);
    response.setStatusCode(static_cast<int>(exchange.status()));
    if (exchange.result() == Success) {
        response.setBody(exchange.takeBody());
    }
    return exchange.result();
}

void CurlTransport::interruptRequests() { engine_->requests.interrupt(); }

void CurlTransport::allowRequests() { engine_->requests.takeInterruptionBack(); }

void CurlTransport::stop() {
    interruptRequests();
    const std::lock_guard<std::mutex> lock(engine_->stopMutex);
    engine_->transfers.stop();
    // After the transfers, whose completions it runs.
    engine_->completions.stop();
}

}  // namespace platform
