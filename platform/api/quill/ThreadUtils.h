#pragma once

#include <boost/function.hpp>

#include <string>

namespace QuillCoreUtils {

/// Work beside the dispatcher thread.
class ThreadUtils {
public:
    /// Runs a function on the host's thread pool and returns at once. Tasks may run in another order than they were
    /// given, and at the same time. Without a pool, or after its end, the function is dropped with a level 3 line.
    /// A function that throws is logged with its name at level 2. Any thread.
    /// @param name for diagnosis.
    static void runInThreadPool(const boost::function<void()>& function, const std::string& name);
};

}  // namespace QuillCoreUtils
