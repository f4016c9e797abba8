#include "impl/unified/ThreadPoolImpl.h"

#include <mutex>

#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>

#include "impl/unified/TaskGuard.h"
#include "tessel/TesselLogger.h"

namespace {

TesselLogger* logger() {
    static TesselLogger* const instance = TesselLogger_getLogger("ThreadPool");
    return instance;
}

}  // namespace

struct ThreadPoolImpl::Pool {
    explicit Pool(std::size_t count) : threads(count) {}

    boost::asio::thread_pool threads;
    std::mutex mutex;  ///< guards closed, and keeps work from slipping in behind it
    bool closed = false;
    std::mutex joinMutex;  ///< the threads may be joined by one caller at a time only
};

ThreadPoolImpl::ThreadPoolImpl(std::size_t threads) : pool_(std::make_unique<Pool>(threads)) {}

ThreadPoolImpl::~ThreadPoolImpl() { stop(); }

bool ThreadPoolImpl::run(const boost::function<void()>& function, const std::string& name) {
    const std::lock_guard<std::mutex> lock(pool_->mutex);
    if (pool_->closed) {
        return false;
    }
    boost::asio::post(pool_->threads, [function, name] { platform::runGuarded(logger(), name, function); });
    return true;
}

void ThreadPoolImpl::stop() {
    {
        const std::lock_guard<std::mutex> lock(pool_->mutex);
        pool_->closed = true;
    }
    if (pool_->threads.get_executor().running_in_this_thread()) {
        return;
    }
    const std::lock_guard<std::mutex> lock(pool_->joinMutex);
    pool_->threads.join();
}
