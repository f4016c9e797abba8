#include "impl/http/CurlMemory.h"

#include <cstdlib>
#include <cstring>

#include "impl/tessel/WipedMemory.h"

CURLcode platform::initialiseCurlWithWipedMemory() {
    return curl_global_init_mem(CURL_GLOBAL_DEFAULT, std::malloc, tessel::wipeAndFree, tessel::moveWiped, strdup,
                                std::calloc);
}
