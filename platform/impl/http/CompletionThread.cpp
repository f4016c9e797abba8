#include "impl/http/CompletionThread.h"

#include <utility>

#include "impl/http/BodyBuffer.h"
#include "impl/http/SigpipeGuard.h"
#include "impl/unified/TaskGuard.h"
#include "tessel/TesselLogger.h"

namespace platform {

namespace {

TesselLogger* logger() {
    static TesselLogger* const instance = TesselLogger_getLogger("CurlTransport");
    return instance;
}

void complete(EndedTransfer ended) {
    runGuarded(logger(), "completion of " + ended.transfer.url,
               [&ended] { ended.transfer.completion(ended.body, ended.result); });
    wipeWhole(ended.body);
}

}  // namespace

CompletionThread::CompletionThread() : thread_([this] { run(); }) {}

CompletionThread::~CompletionThread() { stop(); }

bool CompletionThread::post(EndedTransfer ended) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (closed_) {
        return false;
    }
    queue_.push_back(std::move(ended));
    work_.notify_one();
    return true;
}

void CompletionThread::stop() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
        work_.notify_one();
    }
    if (thread_.joinable()) {
        thread_.join();
    }
}

void CompletionThread::run() {
    blockSigpipe();
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        work_.wait(lock, [this] { return !queue_.empty() || stopping_; });
        if (queue_.empty()) {
            closed_ = true;
            return;
        }
        EndedTransfer next = std::move(queue_.front());
        queue_.pop_front();
        lock.unlock();
        complete(std::move(next));
        lock.lock();
    }
}

}  // namespace platform
