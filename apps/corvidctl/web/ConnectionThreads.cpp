#include "web/ConnectionThreads.h"

#include <sys/socket.h>
#include <unistd.h>

#include <utility>

namespace corvidctl {

namespace {

/// The HTTP library looks for patterns with recursion: a field of 8 KiB, the longest that it reads, takes it 6 MiB. How
/// much a thread has otherwise is up to whoever has started the program.
constexpr std::size_t STACK_BYTES = 16 * 1024 * 1024;

/// @return false if the system has no thread left.
bool startThread(pthread_t& thread, void* (*run)(void*), void* argument) {
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) != 0) {
        return false;
    }
    const bool started = pthread_attr_setstacksize(&attributes, STACK_BYTES) == 0 &&
                         pthread_create(&thread, &attributes, run, argument) == 0;
    pthread_attr_destroy(&attributes);
    return started;
}

}  // namespace

ConnectionThreads::ConnectionThreads(std::size_t most, Serve serve) : most_(most), serve_(std::move(serve)) {}

ConnectionThreads::~ConnectionThreads() {
    {
        const std::lock_guard lock(mutex_);
        for (const Place& place : places_) {
            if (place.socket >= 0) {
                shutdown(place.socket, SHUT_RDWR);
            }
        }
    }
    for (const Place& place : places_) {
        pthread_join(place.thread, nullptr);
    }
}

bool ConnectionThreads::admit(int socket) {
    const std::lock_guard lock(mutex_);
    clearPlaces();
    if (places_.size() >= most_) {
        return false;
    }
    Place& place = places_.emplace_back(Place{.owner = *this, .socket = socket});
    if (!startThread(place.thread, runPlace, &place)) {
        places_.pop_back();
        return false;
    }
    return true;
}

void* ConnectionThreads::runPlace(void* place) {
    auto& own = *static_cast<Place*>(place);
    own.owner.run(own);
    return nullptr;
}

void ConnectionThreads::run(Place& place) {
    int socket = -1;
    {
        const std::lock_guard lock(mutex_);
        socket = place.socket;
    }
    serve_(socket);
    const std::lock_guard lock(mutex_);  // so that nobody cuts a descriptor that has become another's
    close(socket);
    place.socket = -1;
}

void ConnectionThreads::clearPlaces() {
    for (auto place = places_.begin(); place != places_.end();) {
        if (place->socket >= 0) {
            ++place;
            continue;
        }
        pthread_join(place->thread, nullptr);
        place = places_.erase(place);
    }
}

}  // namespace corvidctl
