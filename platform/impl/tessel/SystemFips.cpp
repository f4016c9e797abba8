#include "impl/tessel/SystemFips.h"

#include <openssl/evp.h>

#include <fstream>

namespace tessel::common {

bool isSystemFipsEnabled(const std::string& kernelFlag) {
    int flag = 0;
    std::ifstream(kernelFlag) >> flag;
    return flag == 1 || EVP_default_properties_is_fips_enabled(nullptr) == 1;
}

}  // namespace tessel::common
