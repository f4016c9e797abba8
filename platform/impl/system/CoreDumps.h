#pragma once

namespace platform {

/// From here on this process leaves no core, wherever the system would put one, and nobody but root may look into its
/// memory, not even a process of the same user. For the rest of its life: what it has held is still there
/// in places. A program that it starts is free again, a forked child is not. Any thread.
void forbidCoreDumps();

}  // namespace platform
