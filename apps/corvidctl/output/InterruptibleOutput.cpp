#include "output/InterruptibleOutput.h"

#include "output/DescriptorStream.h"
#include "output/Output.h"
#include "session/Interruption.h"

namespace corvidctl {

InterruptibleOutput::InterruptibleOutput(Output& output, const Interruption& interruption) : output_(output) {
    if (output_.descriptor != nullptr) {
        output_.descriptor->giveUpOn(interruption.descriptor());
    }
}

InterruptibleOutput::~InterruptibleOutput() {
    output_.out.flush();
    if (output_.descriptor != nullptr) {
        output_.descriptor->giveUpOn(-1);
    }
}

}  // namespace corvidctl
