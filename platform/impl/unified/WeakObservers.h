#pragma once

#include <algorithm>
#include <memory>
#include <vector>

namespace platform {

/// The observers that are alive, in the order of their registration; dead ones are dropped from the list.
/// The caller holds the lock of the list and must let go of the result after it: it may be the last reference to an
/// observer, whose destructor may call back.
template <typename Observer>
std::vector<std::shared_ptr<Observer>> lockAlive(std::vector<std::weak_ptr<Observer>>& observers) {
    std::vector<std::shared_ptr<Observer>> alive;
    alive.reserve(observers.size());
    for (const std::weak_ptr<Observer>& observer : observers) {
        if (std::shared_ptr<Observer> locked = observer.lock()) {
            alive.push_back(std::move(locked));
        }
    }
    if (alive.size() != observers.size()) {
        observers.assign(alive.begin(), alive.end());
    }
    return alive;
}

/// Appends an observer, unless it is dead or there already. Same rule of lock and result as lockAlive().
template <typename Observer>
std::vector<std::shared_ptr<Observer>> addAlive(std::vector<std::weak_ptr<Observer>>& observers,
                                                const std::shared_ptr<Observer>& observer) {
    std::vector<std::shared_ptr<Observer>> alive = lockAlive(observers);
    if (observer != nullptr && std::find(alive.begin(), alive.end(), observer) == alive.end()) {
        observers.push_back(observer);
    }
    return alive;
}

/// Removes an observer if it is there. Same rule of lock and result as lockAlive().
template <typename Observer>
std::vector<std::shared_ptr<Observer>> removeAlive(std::vector<std::weak_ptr<Observer>>& observers,
                                                   const std::shared_ptr<Observer>& observer) {
    std::vector<std::shared_ptr<Observer>> alive = lockAlive(observers);
    const auto found = std::find(alive.begin(), alive.end(), observer);
    if (found != alive.end()) {
        observers.erase(observers.begin() + (found - alive.begin()));
    }
    return alive;
}

}  // namespace platform
