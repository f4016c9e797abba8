// A target that never ends, for the test of who notices it.

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t*, std::size_t) {
    volatile bool goesOn = true;
    while (goesOn) {
    }
    return 0;
}
