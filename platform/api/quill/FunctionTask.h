#pragma once

#include <boost/function.hpp>

#include <string>
#include <utility>

#include "tessel/Task.h"

namespace QuillCoreUtils {

/// A task made of a function object and a name.
class FunctionTask : public tessel::Task {
public:
    /// @param function not empty. @param name see getName().
    FunctionTask(boost::function<void()> function, std::string name)
        : function_(std::move(function)), name_(std::move(name)) {}

    /// Calls the function; what it throws comes out.
    void run() override { function_(); }
    const std::string& getName() const override { return name_; }

private:
    boost::function<void()> function_;
    std::string name_;
};

}  // namespace QuillCoreUtils
