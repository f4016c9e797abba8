#pragma once

#include <cstddef>
#include <memory>

#include "system/World.h"

/// The host's thread pool, from construction to stop(). Must not be destroyed by one of its own functions.
class ThreadPoolImpl : public platform::ThreadPool {
public:
    /// @param threads how many; at least 1.
    explicit ThreadPoolImpl(std::size_t threads);

    /// Stops.
    ~ThreadPoolImpl() override;

    ThreadPoolImpl(const ThreadPoolImpl&) = delete;
    ThreadPoolImpl& operator=(const ThreadPoolImpl&) = delete;

    /// False after stop(). A function that throws is logged with its name at level 2.
    bool run(const boost::function<void()>& function, const std::string& name) override;

    /// Takes no more work, runs what is queued and joins the threads. Any thread that holds no lock which a function
    /// wants, any number of times. On a thread of the pool, which cannot wait for itself, it only takes no more work.
    void stop();

private:
    struct Pool;
    const std::unique_ptr<Pool> pool_;
};
