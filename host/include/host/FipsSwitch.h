#pragma once

#include <functional>

#include "host/ReferenceHost.h"

namespace host {

/// What answers for FIPS mode in a world. Any thread may call the result.
std::function<bool()> fipsSwitch(ReferenceHostOptions::Fips fips);

}  // namespace host
