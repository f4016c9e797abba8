#pragma once

#include <string>
#include <vector>

#include "fakes/TemporaryDirectory.h"
#include "support/ChildProcess.h"

namespace docs {

/// User Anna's home, in which the commands of a page are run; the folder `share` of the sources is there as well.
class Home {
public:
    /// What her configuration directory holds at the beginning.
    enum class Profile {
        Sample,  ///< the sample profile; and a server's file lies in the home
        None,    ///< there is none
    };

    explicit Home(Profile profile);

    /// Writes a file there.
    void write(const std::string& name, const std::string& contents) const { directory_.write(name, contents); }

    /// What starts a shell command there, in place of the shell. The installed data files are those of the sources.
    std::vector<std::string> shellFor(std::string command) const;

    /// For what shellFor() gives.
    support::ChildOptions options() const;

    /// What the command prints on both streams.
    std::string outputOf(const std::string& command) const;

private:
    const fakes::TemporaryDirectory directory_;
};

}  // namespace docs
