#include "web/ConnectionThreads.h"

#include <sys/socket.h>
#include <unistd.h>

#include <system_error>
#include <utility>

namespace corvidctl {

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
    for (Place& place : places_) {
        place.thread.join();
    }
}

bool ConnectionThreads::admit(int socket) {
    const std::lock_guard lock(mutex_);
    clearPlaces();
    if (places_.size() >= most_) {
        return false;
    }
    Place& place = places_.emplace_back();
    try {
        place.thread = std::thread([this, &place] { run(place); });
    } catch (const std::system_error&) {
        places_.pop_back();
        return false;
    }
    place.socket = socket;  // its thread waits for the mutex before it looks
    return true;
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
        place->thread.join();
        place = places_.erase(place);
    }
}

}  // namespace corvidctl
