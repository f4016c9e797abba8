#pragma once

#include <stdexcept>

namespace corvidctl {

/// Something on the command line that only the configuration itself could show to be wrong: the tool ends with
/// Status::WrongUse, and with this one line.
class WrongUse : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace corvidctl
