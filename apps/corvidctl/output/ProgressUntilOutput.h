#pragma once

#include <string>

#include "output/SteadyProgress.h"

namespace corvidctl {

class DescriptorStream;

/// Shows that a command is at work for as long as it has written nothing: its first byte, on standard output or
/// standard error, takes the line away for good. A line that the command shows itself counts as such a byte.
class ProgressUntilOutput {
public:
    /// All must outlive this. @param progress a line on a stream of its own. @param text what is being waited for.
    ProgressUntilOutput(ProgressLine& progress, std::string text, DescriptorStream& out, DescriptorStream& error);
    ~ProgressUntilOutput();

    ProgressUntilOutput(const ProgressUntilOutput&) = delete;
    ProgressUntilOutput& operator=(const ProgressUntilOutput&) = delete;

private:
    SteadyProgress steady_;
    DescriptorStream& out_;
    DescriptorStream& error_;
};

}  // namespace corvidctl
