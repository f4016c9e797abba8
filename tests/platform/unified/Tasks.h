#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "quill/FunctionTask.h"

/// A task made of a function, for the tests of the queues.
inline std::shared_ptr<tessel::Task> makeTask(const std::function<void()>& function, std::string name = "task") {
    return std::make_shared<QuillCoreUtils::FunctionTask>(function, std::move(name));
}

/// Runs a function as it is destroyed.
class LastWord {
public:
    explicit LastWord(std::function<void()> function) : function_(std::move(function)) {}
    ~LastWord() { function_(); }

    LastWord(const LastWord&) = delete;
    LastWord& operator=(const LastWord&) = delete;

private:
    std::function<void()> function_;
};

/// Gives other threads many turns. For a test that must not end too early what they wait for; right code passes it
/// whatever the turns are used for.
inline void letOthersRun() {
    for (int i = 0; i < 1000; ++i) {
        std::this_thread::yield();
    }
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
