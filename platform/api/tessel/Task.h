#pragma once

#include <string>

namespace tessel {

/// A piece of work for a queue. It is run once, on the queue's thread, and kept alive by the queue until then.
class Task {
public:
    virtual ~Task() = default;

    /// The work. What it throws is the queue's to log.
    virtual void run() = 0;

    /// What the task calls, for diagnosis; usually class and operation joined by two colons.
    virtual const std::string& getName() const = 0;
};

}  // namespace tessel
