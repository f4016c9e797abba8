#include "output/ProgressUntilOutput.h"

#include <utility>

#include "output/DescriptorStream.h"

namespace corvidctl {

ProgressUntilOutput::ProgressUntilOutput(ProgressLine& progress, std::string text, DescriptorStream& out,
                                         DescriptorStream& error)
    : steady_(progress, std::move(text)), out_(out), error_(error) {
    out_.beforeWriting([this] { steady_.end(); });
    error_.beforeWriting([this] { steady_.end(); });
}

ProgressUntilOutput::~ProgressUntilOutput() {
    out_.beforeWriting({});
    error_.beforeWriting({});
}

}  // namespace corvidctl
