#pragma once

#include <optional>

#include "cli/Invocation.h"
#include "comparing/Contents.h"
#include "comparing/Operand.h"
#include "comparing/Rehearsal.h"

namespace corvidctl {

/// Reads the sides of a comparison. The module runs on copies of the configurations, so that it changes none of them.
class Sides {
public:
    /// @param rehearsal must outlive this.
    Sides(const Invocation& invocation, Rehearsal& rehearsal) : invocation_(invocation), rehearsal_(rehearsal) {}

    /// @param operand without a problem. @throws std::runtime_error with one line if it cannot be read, or if no store
    ///        has its name.
    Contents read(const Operand& operand);

private:
    Picture pictureOf(const std::string& directory);
    const Picture& live();
    Contents readStore(const std::string& name);

    const Invocation& invocation_;
    Rehearsal& rehearsal_;
    std::optional<Picture> live_;
};

}  // namespace corvidctl
