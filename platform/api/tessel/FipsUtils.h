#pragma once

namespace tessel::common {

/// FIPS 140 mode of this process.
class FipsUtils {
public:
    /// True if the process runs in FIPS mode. Asked anew on each call, since the mode may be switched while the process
    /// runs; the answer comes from the host's World. Any thread.
    static bool isFipsEnabled();
};

}  // namespace tessel::common
