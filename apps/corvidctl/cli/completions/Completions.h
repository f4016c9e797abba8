#pragma once

#include <string>

/// Scripts that complete the tool's command lines in a shell, made from the definitions of the command line. Keys and
/// stores are asked from the tool itself, in the directories that the command line names so far.
namespace corvidctl {

std::string bashCompletions();
std::string zshCompletions();
std::string fishCompletions();

}  // namespace corvidctl
