#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/Invocation.h"
#include "comparing/Contents.h"
#include "comparing/LoadFailures.h"
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

    /// What a reader of the comparison should know of the sides read so far, each a whole sentence.
    const std::vector<std::string>& remarks() const { return remarks_; }

private:
    struct Configuration {
        Picture picture;
        std::vector<LoadFailure> failures;
    };

    Configuration readConfiguration(const std::string& directory);
    const Configuration& live();
    Contents readWhole(const Configuration& configuration);
    Contents readStore(const std::string& name);
    void remark(const std::string& sentence);

    const Invocation& invocation_;
    Rehearsal& rehearsal_;
    std::optional<Configuration> live_;
    std::vector<std::string> remarks_;
};

}  // namespace corvidctl
