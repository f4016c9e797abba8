#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

namespace support {

/// Makes this process an ordinary user for the length of a scope, if it is root, whom no permissions stop.
class OrdinaryUser {
public:
    OrdinaryUser() : wasRoot_(geteuid() == 0), isOrdinary_(!wasRoot_ || seteuid(NOBODY) == 0) {}
    ~OrdinaryUser() {
        if (wasRoot_) {
            EXPECT_EQ(seteuid(0), 0);
        }
    }

    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;

    /// False if the machine has no other user to become.
    bool isOrdinary() const { return isOrdinary_; }
    bool wasRoot() const { return wasRoot_; }

private:
    static constexpr uid_t NOBODY = 65534;
    const bool wasRoot_;
    const bool isOrdinary_;
};

}  // namespace support
