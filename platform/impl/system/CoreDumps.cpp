#include "impl/system/CoreDumps.h"

#include <sys/prctl.h>

// Not by a limit of size, which a core that goes to a program does not keep.
void platform::forbidCoreDumps() { prctl(PR_SET_DUMPABLE, 0); }
