#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "NetworkFaults.h"

namespace integration {

/// The three servers of whoever tries faults, in the order in which they are asked.
inline const std::array<std::string, 3> HOSTS = {"first.example", "second.example", "third.example"};

/// What a fault at one server has come to.
struct Outcome {
    std::string told;  ///< what tells of the fault itself, with SERVER for the server's name
    std::vector<std::pair<std::string, std::string>> followed;  ///< what is looked at, and what it was
};

/// Has each of the faults tried at each of the servers, and compares what came of it with a section of
/// docs/network-faults.md, letter by letter: a table of what followed, which must be the same for all faults, and one
/// of what told of each. With CORVID_WRITE_TABLES in the environment it writes them anew, and fails.
/// @param heading of the section. @param tells what its table says of a fault. @param tryOut of a fault, at a server.
void expectAsWritten(const std::string& heading, const std::string& tells, const std::vector<NetworkFault>& faults,
                     const std::function<Outcome(const NetworkFault&, std::size_t)>& tryOut);

/// The text with SERVER in the place of a server's name.
std::string withoutName(std::string text, const std::string& host);

/// These lines in quotes; "nothing" if there are none.
std::string quoted(const std::vector<std::string>& lines);

}  // namespace integration
