#pragma once

#include "cli/Invocation.h"
#include "comparing/UserWrite.h"
#include "output/Output.h"

/// What a value and an erasure have to tell alike, for people.
namespace corvidctl {

/// That the user's file was set aside, or would be, if it was broken.
void printBrokenFile(const Invocation& invocation, const UserWriteView& view, Output& output);

/// That the disk does not have, or would not have, what was asked for.
void printNotPersisted(const Invocation& invocation, const UserWriteView& view, Output& output);

}  // namespace corvidctl
