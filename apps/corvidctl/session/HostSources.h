#pragma once

#include "host/ReferenceHost.h"
#include "reading/StoreSources.h"

namespace corvidctl {

/// The sources of the stores that a host with these options has, read in silence. Before that host starts, which may
/// move a broken file away; no other one may run meanwhile.
StoreSources readSourcesOf(const host::ReferenceHost::Options& options);

}  // namespace corvidctl
