#include "host/FipsSwitch.h"

#include "impl/tessel/SystemFips.h"

namespace host {

std::function<bool()> fipsSwitch(ReferenceHostOptions::Fips fips) {
    switch (fips) {
    case ReferenceHostOptions::Fips::On:
        return [] { return true; };
    case ReferenceHostOptions::Fips::Off:
        return [] { return false; };
    case ReferenceHostOptions::Fips::Auto:
        break;
    }
    return [] { return tessel::common::isSystemFipsEnabled(); };
}

}  // namespace host
