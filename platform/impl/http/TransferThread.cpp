#include "impl/http/TransferThread.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "impl/http/CompletionThread.h"
#include "impl/http/CurlExchange.h"
#include "impl/http/SigpipeGuard.h"
#include "impl/unified/TaskGuard.h"
#include "tessel/TesselLogger.h"

using namespace HttpDownloader::HttpDownloadResultEnum;

namespace platform {

namespace {

using Progress = HttpDownloader::HttpDownloader::Progress;

/// libcurl cuts it short for its own timers.
constexpr int POLL_MILLISECONDS = 60 * 1000;

TesselLogger* logger() {
    static TesselLogger* const instance = TesselLogger_getLogger("CurlTransport");
    return instance;
}

/// Tells what is new, and no more after it threw.
class ProgressReport {
public:
    explicit ProgressReport(const HttpTransport::Transfer& transfer) : transfer_(transfer) {}

    void operator()(double total, double arrived) {
        if (transfer_.progress && !failed_ && (total != total_ || arrived != arrived_)) {
            total_ = total;
            arrived_ = arrived;
            failed_ = true;
            runGuarded(logger(), "progress of " + transfer_.url, [this] {
                transfer_.progress(total_, arrived_);
                failed_ = false;
            });
        }
    }

private:
    const HttpTransport::Transfer& transfer_;
    double total_ = 0;
    double arrived_ = 0;
    bool failed_ = false;
};

}  // namespace

struct TransferThread::Job {
    HttpTransport::Transfer transfer;
    ExchangeOrder::Clock::time_point deadline;
    bool cancelled = false;                ///< guarded by the thread's mutex
    std::optional<CurlExchange> exchange;  ///< the thread's own; none before it begins
};

TransferThread::TransferThread(CertificateTrust& trust, CompletionThread& completions)
    : trust_(trust), completions_(completions), multi_(makeCurlMulti()), thread_([this] { run(); }) {}

TransferThread::~TransferThread() { stop(); }

bool TransferThread::start(HttpTransport::Transfer transfer) {
    const auto timeout = std::chrono::seconds(std::clamp(transfer.timeoutSeconds, 1L, 1'000'000'000L));
    auto job = std::make_unique<Job>();
    job->transfer = std::move(transfer);
    job->deadline = ExchangeOrder::deadlineIn(timeout);
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (!stopping_) {
            jobs_.push_back(std::move(job));
            curl_multi_wakeup(multi_.get());
            return true;
        }
    }
    return completions_.post({std::move(job->transfer), {}, Cancelled});
}

void TransferThread::cancel(std::uint64_t downloader) {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (const std::unique_ptr<Job>& job : jobs_) {
        if (job->transfer.downloader == downloader) {
            job->cancelled = true;
            curl_multi_wakeup(multi_.get());
        }
    }
}

void TransferThread::stop() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (!std::exchange(stopping_, true)) {
            for (const std::unique_ptr<Job>& job : jobs_) {
                job->cancelled = true;
            }
            curl_multi_wakeup(multi_.get());
        }
    }
    if (thread_.joinable()) {
        thread_.join();
    }
}

void TransferThread::run() {
    blockSigpipe();
    while (takeOrders()) {
        int running = 0;
        curl_multi_perform(multi_.get(), &running);
        takeInEnds();
        curl_multi_poll(multi_.get(), nullptr, 0, POLL_MILLISECONDS, nullptr);
    }
    // Here, where the signal of a connection that is broken already does no harm.
    multi_.reset();
}

/// @return false if there is nothing more to do, ever.
bool TransferThread::takeOrders() {
    std::vector<Job*> cancelled;
    std::vector<Job*> fresh;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        for (const std::unique_ptr<Job>& job : jobs_) {
            if (job->cancelled) {
                cancelled.push_back(job.get());
            } else if (!job->exchange) {
                fresh.push_back(job.get());
            }
        }
    }
    for (Job* const job : cancelled) {
        end(*job);
    }
    for (Job* const job : fresh) {
        begin(*job);
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    return !stopping_ || !jobs_.empty();
}

void TransferThread::begin(Job& job) {
    job.exchange.emplace(ExchangeOrder{job.transfer.url, job.deadline, false, ProgressReport(job.transfer)}, trust_);
    advance(job);
}

void TransferThread::advance(Job& job) {
    if (!job.exchange->prepare()) {
        end(job);
        return;
    }
    curl_easy_setopt(job.exchange->handle(), CURLOPT_PRIVATE, &job);
    curl_multi_add_handle(multi_.get(), job.exchange->handle());
}

void TransferThread::takeInEnds() {
    int left = 0;
    while (const CURLMsg* const message = curl_multi_info_read(multi_.get(), &left)) {
        if (message->msg != CURLMSG_DONE) {
            continue;
        }
        // The message does not outlive the handle's removal.
        const CURLcode code = message->data.result;
        CURL* const handle = message->easy_handle;
        Job* job = nullptr;
        curl_easy_getinfo(handle, CURLINFO_PRIVATE, &job);
        curl_multi_remove_handle(multi_.get(), handle);
        job->exchange->conclude(code);
        advance(*job);
    }
}

void TransferThread::end(Job& job) {
    std::unique_ptr<Job> owned;
    bool cancelled = false;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        const auto place =
            std::find_if(jobs_.begin(), jobs_.end(), [&job](const auto& each) { return each.get() == &job; });
        owned = std::move(*place);
        jobs_.erase(place);
        cancelled = owned->cancelled;
    }
    EndedTransfer ended{{}, {}, Cancelled};
    if (owned->exchange) {
        curl_multi_remove_handle(multi_.get(), owned->exchange->handle());
        if (!cancelled) {
            ended.result = owned->exchange->result();
            ended.body = ended.result == Success ? owned->exchange->takeBody() : std::string();
        }
        owned->exchange.reset();  // it reads the transfer's progress
    }
    ended.transfer = std::move(owned->transfer);
    completions_.post(std::move(ended));
}

}  // namespace platform
