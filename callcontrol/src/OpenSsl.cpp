#include "OpenSsl.h"

#include <openssl/err.h>

#include <array>
#include <stdexcept>

namespace callcontrol {

void require(bool success, const char* what) {
    if (success) {
        return;
    }
    std::array<char, 256> reason{};
    ERR_error_string_n(ERR_get_error(), reason.data(), reason.size());
    ERR_clear_error();
    throw std::runtime_error(std::string(what) + ": " + reason.data());
}

}  // namespace callcontrol
