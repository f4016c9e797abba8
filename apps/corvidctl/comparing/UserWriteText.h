#pragma once

#include <string>
#include <vector>

#include "cli/Invocation.h"
#include "comparing/UserWrite.h"
#include "output/Output.h"

/// What a user's write has to tell people: what was done, or what would be, if it was a rehearsal.
///
/// The sentences tell no value but that of the answer, which is masked where it must be. Whoever prints them makes the
/// names in them harmless for a terminal.
namespace corvidctl {

/// Of a value, why the key does not read as what was stored; none if it does.
std::vector<std::string> sentencesOnWinner(const UserWriteView& view);

/// Of a value, that a policy takes it away at the next start; empty if none does.
std::string sentenceOnEndangered(const UserWriteView& view);

/// Of a value, what it costs the user at the next start, as a policy; empty if it is none.
std::string sentenceOnErased(const UserWriteView& view);

/// Of a value, what the file holds where that is not what was asked for; without full stops.
/// @param reveal show sensitive texts.
std::vector<std::string> sentencesOnReplacedCharacters(const UserWriteView& view, bool reveal);

/// That the disk does not have, or would not have, what was asked for; without a full stop.
/// @param configDirectory where it is to be kept.
std::string sentenceOnDisk(const UserWriteView& view, const std::string& configDirectory);

/// That the user's file was set aside, or would be, if it was broken.
void printBrokenFile(const Invocation& invocation, const UserWriteView& view, Output& output);

}  // namespace corvidctl
