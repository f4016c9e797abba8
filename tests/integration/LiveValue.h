#pragma once

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "Client.h"
#include "ConfigValue.h"
#include "ConfigValueObserver.h"

namespace integration {

/// A live object of the service's, with an observer that writes down what it is told.
class LiveValue {
public:
    /// What the object held when its value's observer was called.
    struct Told {
        std::wstring value;
        std::wstring storeName;
        bool onDispatcherThread;

        bool operator==(const Told&) const = default;

        /// For the messages of failed expectations.
        friend void PrintTo(const Told& told, std::ostream* out);
    };

    LiveValue(const Client& client, const std::wstring& key);

    /// The changes so far, in order.
    std::vector<Told> told() const;

    /// Their values alone.
    std::vector<std::wstring> values() const;

    /// Waits until the value has been told.
    void waitFor(const std::wstring& value) const;

private:
    class Observer;
    std::shared_ptr<Observer> observer_;
};

}  // namespace integration
