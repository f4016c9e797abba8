#pragma once

#include <string>

namespace corvidctl {

class Session;

/// Whether the next start will find what the server has delivered. Reads the copy on disk as that start would, and
/// compares it with the values that the chain has now; secrets are in neither.
/// @param session with its remote source still on. @return the path of a copy that says something else, or is missing;
///        empty if all is well, or if there is nothing to keep.
std::string copyThatIsNotKept(Session& session);

}  // namespace corvidctl
