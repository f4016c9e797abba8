#pragma once

#include <cstddef>
#include <map>
#include <string>

namespace fakes {

/// Names of hosts that stand for what a test says, for the length of a scope: every look-up of this process for one of
/// them is answered here, and no name server is asked. Other names and addresses go their usual way. One scope at a
/// time; any thread inside it.
class ScriptedNames {
public:
    ScriptedNames();

    /// Fails the look-ups that still wait, and returns when they have ended. Those that come late fail too.
    ~ScriptedNames();

    ScriptedNames(const ScriptedNames&) = delete;
    ScriptedNames& operator=(const ScriptedNames&) = delete;

    /// From now on the name has this address.
    void answer(const std::string& name, const std::string& address);

    /// ... does not exist.
    void refuse(const std::string& name);

    /// ... cannot be found out now: the name servers have failed.
    void fail(const std::string& name);

    /// ... is looked up without end: the name servers never answer.
    void keepSilent(const std::string& name);

    /// Returns when so many look-ups of names that are kept silent have ever begun in this scope.
    void waitForSilence(std::size_t lookUps);

    /// How many have.
    std::size_t silences() const;
};

}  // namespace fakes
