#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "quill/FunctionTask.h"

/// A task made of a function, for the tests of the queues.
inline std::shared_ptr<tessel::Task> makeTask(const std::function<void()>& function, std::string name = "task") {
    return std::make_shared<QuillCoreUtils::FunctionTask>(function, std::move(name));
}

/// What happened, in order, told by any thread.
class Trace {
public:
    void add(const std::string& event) {
        const std::lock_guard<std::mutex> lock(mutex_);
        events_.push_back(event);
    }

    std::vector<std::string> events() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return events_;
    }

private:
    mutable std::mutex mutex_;
    std::vector<std::string> events_;
};
