#pragma once

#include <string>

#include "cli/Invocation.h"
#include "comparing/SimulationPlan.h"
#include "session/ProfileCopy.h"

namespace corvidctl {

/// A copy of a configuration, its installation's files included, with some of the files replaced or left out.
class AlteredProfile {
public:
    /// @throws std::system_error with one line if a copy cannot be made.
    explicit AlteredProfile(const Invocation& invocation);

    /// Puts a store's file in its place, or takes it away. What a server delivers has no place here and is passed over.
    /// @param replacement names a cached copy as the chain does. @throws std::system_error with one line.
    void apply(const SimulationPlan::Replacement& replacement);

    /// For a session on the copy.
    const Invocation& invocation() const { return invocation_; }

private:
    void put(const SimulationPlan::Replacement& replacement, const std::string& path) const;

    const ProfileCopy profile_;
    const TemporaryFolder installation_;
    Invocation invocation_;
};

}  // namespace corvidctl
