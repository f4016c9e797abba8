#pragma once

#include <string>

namespace tessel::common {

/// True if the machine asks for FIPS 140 mode: its kernel says so, or OpenSSL is configured to use approved algorithms
/// only. For a host that lets the machine decide; it puts this into World::fipsMode. Read anew on each call. Any
/// thread.
/// @param kernelFlag the file in which the kernel tells its mode: "1" for on; one that cannot be read means off.
bool isSystemFipsEnabled(const std::string& kernelFlag = "/proc/sys/crypto/fips_enabled");

}  // namespace tessel::common
