#pragma once

#include <memory>
#include <string>

namespace tessel {

/// One record as it reaches a sink.
struct LogRecord {
    int level;                  ///< 2 to 5
    const std::string& logger;  ///< the name under which a class logs
    const char* file;           ///< where the record was made
    int line;                   ///< of that file
    const char* function;       ///< the name of the operation
    const std::string& text;    ///< UTF-8
};

/// Where records go. A host sets one; a test sets a recording one.
class LogSink {
public:
    virtual ~LogSink() = default;

    /// Called on any thread, possibly under the caller's locks: must neither wait for another thread nor call back.
    virtual void write(const LogRecord& record) = 0;

    /// Returns when everything written so far has reached its end, or cannot reach it.
    virtual void flush() {}
};

/// The process-wide log set-up. Any thread.
class LogControl {
public:
    /// Sets the sink; null drops every record. The old sink is kept alive until calls into it have returned;
    /// it may be destroyed by the thread of such a call.
    static void setSink(std::shared_ptr<LogSink> sink);

    /// Records with a level above this are dropped; 3 at start. What lies outside 2 to 5 becomes the nearer of these.
    static void setLevel(int level);

    /// What was set, 2 to 5.
    static int getLevel();

    /// Flushes the current sink, if there is one.
    static void flush();
};

}  // namespace tessel
