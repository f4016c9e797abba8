#include "session/QuietStart.h"

#include "output/DescriptorStream.h"
#include "output/Output.h"

namespace corvidctl {

ExitOnInterruption endingQuietly(const Interruption& interruption, Output& output) {
    return {interruption, Status::Done, [&output] {
                if (output.descriptor != nullptr) {
                    output.descriptor->announceWriting();
                }
            }};
}

}  // namespace corvidctl
