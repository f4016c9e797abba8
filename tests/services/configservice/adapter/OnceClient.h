#pragma once

#include <functional>
#include <utility>

#include "ConfigValueObserver.h"

/// A client that runs an action once, at the first change of the live value that it observes.
class OnceClient : public ConfigValueObserver {
public:
    explicit OnceClient(std::function<void()> action) : action_(std::move(action)) {}
    void OnValueChanged() override {
        if (const auto once = std::exchange(action_, nullptr)) {
            once();
        }
    }

private:
    std::function<void()> action_;
};
