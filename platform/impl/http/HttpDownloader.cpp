#include "http/HttpDownloader.h"

#include <atomic>
#include <memory>

#include "http/HttpTransport.h"
#include "quill/ThreadUtils.h"
#include "system/World.h"
#include "tessel/TesselLogger.h"

namespace HttpDownloader {

namespace {

std::uint64_t nextId() {
    static std::atomic<std::uint64_t> last = 0;
    return ++last;
}

TesselLogger* logger() {
    static TesselLogger* const instance = TesselLogger_getLogger("HttpDownloader");
    return instance;
}

}  // namespace

HttpDownloader::HttpDownloader() : id_(nextId()) {}

void HttpDownloader::DownloadToString(const std::string& url, const Progress& progress, const Completion& completion,
                                      long timeout) {
    const std::shared_ptr<platform::HttpTransport> transport = platform::getWorld()->httpTransport;
    if (transport == nullptr) {
        const auto fail = [completion] {
            std::string body;
            completion(body, HttpDownloadResultEnum::NoTransport);
        };
        QuillCoreUtils::ThreadUtils::runInThreadPool(fail, "HttpDownloader::DownloadToString");
        return;
    }
    if (!transport->start({id_, url, progress, completion, timeout})) {
        TesselLog(logger(), 3, __FILE__, __LINE__, __func__, "The transport takes no more work, dropped: " + url);
    }
}

void HttpDownloader::CancelCurrentTransfer() {
    const std::shared_ptr<platform::HttpTransport> transport = platform::getWorld()->httpTransport;
    if (transport != nullptr) {
        transport->cancel(id_);
    }
}

}  // namespace HttpDownloader
