#pragma once

#include <poll.h>

#include <chrono>
#include <cstddef>
#include <deque>
#include <string>
#include <vector>

#include "web/Deadline.h"

namespace corvidctl {

/// Clients for whom there is no place: each is told so, and has a moment to read it before its connection is closed.
/// Nothing here waits. One thread.
class Farewells {
public:
    /// @param text what each is told.
    /// @param most so many are kept at once: of more the first has to go.
    Farewells(std::string text, std::size_t most, std::chrono::milliseconds moment);
    ~Farewells();

    Farewells(const Farewells&) = delete;
    Farewells& operator=(const Farewells&) = delete;

    /// @param socket not blocking; belongs to this object from here on.
    void add(int socket);

    /// Adds what there is to wait for. @return for how long at most, in milliseconds; -1: there is nobody.
    int waitFor(std::vector<pollfd>& descriptors) const;

    /// Closes the connections of those who have gone, or have had their moment.
    void tend();

private:
    struct Leaving {
        int socket;
        Deadline deadline;
    };

    const std::string text_;
    const std::size_t most_;
    const std::chrono::milliseconds moment_;
    std::deque<Leaving> leaving_;  ///< the longest one first
};

}  // namespace corvidctl
