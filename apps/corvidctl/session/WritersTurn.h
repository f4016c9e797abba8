#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "cli/Invocation.h"
#include "impl/system/DirectoryClaim.h"
#include "output/Output.h"

namespace corvidctl {

/// What a command does to the configuration directory, as far as others who work on it need to know.
enum class DirectoryUse {
    None,     ///< reads at most: it hinders nobody
    Changes,  ///< changes what the user has stored, and ends
    Fetches,  ///< keeps a copy of the server's file, and ends
    Stays,    ///< is a client, until it is interrupted
};

DirectoryUse directoryUseOf(const Invocation& invocation);

/// The turn of a command that writes to the configuration directory, from before it reads anything there until it has
/// ended: of two such commands the second starts with what the first has stored, and neither undoes the other's work.
/// A command that does not write has its turn at once. See platform::DirectoryClaim for what this keeps out.
///
/// A directory that is missing is made for the turn, mode 0700, and taken away again at its end if it is still empty.
class WritersTurn {
public:
    /// Waits until no other command writes. What it waits for is told after a second: in a progress line where standard
    /// error is a terminal, else in one line. A signal may end the program meanwhile: nothing has begun.
    ///
    /// Then looks for a client that runs on the directory. It would not notice a change of the user's data, and save
    /// its own over it: without --force the turn is not given.
    WritersTurn(const Invocation& invocation, Output& output);
    ~WritersTurn();

    WritersTurn(const WritersTurn&) = delete;
    WritersTurn& operator=(const WritersTurn&) = delete;

    /// False if the command must not run; standard error says why.
    bool isGiven() const { return given_; }

private:
    void makeDirectory();
    void wait(Output& output);
    void remarkClient(const Invocation& invocation, Output& output) const;
    bool mayWriteBeside(const platform::DirectoryUser& client, const Invocation& invocation, Output& output) const;

    const std::string directory_;
    std::vector<std::filesystem::path> made_;  ///< the innermost folder first
    std::unique_ptr<platform::DirectoryClaim> claim_;
    bool given_ = true;
};

}  // namespace corvidctl
