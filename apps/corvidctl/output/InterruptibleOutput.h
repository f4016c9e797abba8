#pragma once

namespace corvidctl {

class Interruption;
struct Output;

/// While this lives, an interruption also ends a write to standard output whose reader takes nothing. To be made before
/// the threads that write, and to outlive them.
class InterruptibleOutput {
public:
    /// Both must outlive this.
    InterruptibleOutput(Output& output, const Interruption& interruption);

    /// Writes what is held back, which an interruption still ends.
    ~InterruptibleOutput();

    InterruptibleOutput(const InterruptibleOutput&) = delete;
    InterruptibleOutput& operator=(const InterruptibleOutput&) = delete;

private:
    Output& output_;
};

}  // namespace corvidctl
