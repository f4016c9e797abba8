#pragma once

#include <pthread.h>

#include <cstddef>
#include <functional>
#include <list>
#include <mutex>

namespace corvidctl {

/// A thread for each connection, and no more of them than a given number.
class ConnectionThreads {
public:
    /// What is done with a connection, on its own thread. @param socket stays this object's, which closes it
    /// afterwards.
    using Serve = std::function<void(int socket)>;

    ConnectionThreads(std::size_t most, Serve serve);

    /// Cuts all connections, and waits until each has been served to its end.
    ~ConnectionThreads();

    ConnectionThreads(const ConnectionThreads&) = delete;
    ConnectionThreads& operator=(const ConnectionThreads&) = delete;

    /// One thread at a time. @return false if all places are taken, or the system has no thread left: the socket is
    /// still the caller's then. Otherwise it belongs to this object.
    bool admit(int socket);

private:
    struct Place {
        ConnectionThreads& owner;
        int socket = -1;  ///< -1: it has been served and closed; under the mutex
        pthread_t thread = {};
    };

    static void* runPlace(void* place);
    void run(Place& place);
    void clearPlaces();

    const std::size_t most_;
    const Serve serve_;
    std::mutex mutex_;
    std::list<Place> places_;  ///< under the mutex
};

}  // namespace corvidctl
