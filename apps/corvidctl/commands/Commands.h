#pragma once

#include "cli/Invocation.h"
#include "output/Output.h"

/// The commands, each in a source of its own. All of them take a checked invocation and give the exit status.
namespace corvidctl {

int runGet(const Invocation& invocation, Output& output);
int runList(const Invocation& invocation, Output& output);
int runExplain(const Invocation& invocation, Output& output);
int runStores(const Invocation& invocation, Output& output);
int runDelta(const Invocation& invocation, Output& output);
int runDiff(const Invocation& invocation, Output& output);
int runSimulate(const Invocation& invocation, Output& output);
int runSet(const Invocation& invocation, Output& output);
int runUnset(const Invocation& invocation, Output& output);
int runFetch(const Invocation& invocation, Output& output);
int runWatch(const Invocation& invocation, Output& output);
int runInspect(const Invocation& invocation, Output& output);
int runHistory(const Invocation& invocation, Output& output);
int runProvision(const Invocation& invocation, Output& output);
int runResetData(const Invocation& invocation, Output& output);
int runReport(const Invocation& invocation, Output& output);
int runValidate(const Invocation& invocation, Output& output);
int runExport(const Invocation& invocation, Output& output);
int runServe(const Invocation& invocation, Output& output);
int runDemo(const Invocation& invocation, Output& output);
int runManual(const Invocation& invocation, Output& output);
int runCompletions(const Invocation& invocation, Output& output);
int runComplete(const Invocation& invocation, Output& output);

}  // namespace corvidctl
