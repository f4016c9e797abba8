#pragma once

#include "fetching/FetchReport.h"
#include "output/Output.h"

/// What came of fetching the server's file, for people.
namespace corvidctl {

/// Who delivered the file, and who did not before.
void printDelivered(const FetchView& view, Output& output);

/// Who was asked in vain, and what to do next.
void printFailure(const FetchView& view, Output& output);

}  // namespace corvidctl
