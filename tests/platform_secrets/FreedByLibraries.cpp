// What libraries in C give back is looked at as well in this program: libcurl's and OpenSSL's buffers hold what servers
// send.

#include <cstdlib>

#include "support/FreedMemory.h"

// The C library's own, for those who stand before it.
extern "C" void __libc_free(void* block);

// A program's function takes the place of the C library's, in all the libraries that it uses. What realloc() leaves
// behind when it moves a block does not pass here.
extern "C" void free(void* block) noexcept {
    support::lookAtFreed(block);
    __libc_free(block);
}
