#pragma once

#include <string>

namespace corvidctl {

/// Why a request is not answered.
struct Refusal {
    int status = 400;
    std::string sentence;    ///< for people
    std::string allow = {};  ///< of a 405: the methods that are taken, as the header Allow has them
};

}  // namespace corvidctl
