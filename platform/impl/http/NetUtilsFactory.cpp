#include "http/NetUtilsFactory.h"

#include "http/HttpTransport.h"
#include "system/World.h"

namespace {

using HttpDownloader::HttpDownloadResultEnum::HttpDownloadResult;

/// Takes the transport of the moment for each request.
class TransportClient : public tessel::http::BasicHttpClient {
public:
    HttpDownloadResult send(const std::shared_ptr<tessel::http::Request>& request,
                            tessel::http::Response& response) override {
        const std::shared_ptr<platform::HttpTransport> transport = platform::getWorld()->httpTransport;
        if (transport == nullptr || request == nullptr) {
            response = tessel::http::Response();
            return HttpDownloader::HttpDownloadResultEnum::NoTransport;
        }
        return transport->send(*request, response);
    }
};

}  // namespace

std::shared_ptr<tessel::http::BasicHttpClient> tessel::netutils::NetUtilsFactory::createBasicHttpClient() const {
    return std::make_shared<TransportClient>();
}
