#include "tessel/Mutex.h"

namespace tessel {
namespace {

constexpr int shortestPause = 64;   // in turns of relax()
constexpr int longestPause = 1024;  // the pauses double, and come to some tens of microseconds

/// Tells the processor that this thread only waits.
void relax() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    asm volatile("yield");
#endif
}

}  // namespace

// Most holders only look something up, which takes less time than to put a thread to sleep and to wake it. The pauses
// leave the holder alone: each look takes the mutex's line of memory away from it.
void Mutex::lockContended() {
    for (int pause = shortestPause; pause <= longestPause; pause *= 2) {
        for (int turn = 0; turn < pause; ++turn) {
            relax();
        }
        if (mutex_.try_lock()) {
            return;
        }
    }
    mutex_.lock();
}

}  // namespace tessel
