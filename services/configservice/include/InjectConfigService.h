#pragma once

#include <memory>

class UnifiedFactory;

/// The number under which the service and the feature set of this module are registered with the factory, and by which
/// the framework names the feature set when it starts and stops it.
inline constexpr unsigned CONFIG_SERVICE_ID = 1300;

/// The module's one exported function: puts the configuration service into a host.
///
/// Makes the ConfigService and registers it under 1300, then, unless the factory has a ConfigFeatureSet already, makes
/// the module's own and registers it under 1300 too. From here on the factory owns both, and reads work: the chain is
/// filled from the files of the host's directories. A second call on the same factory replaces the service and leaves
/// the feature set, which goes on telling the old service.
///
/// To be called on the dispatcher thread, after the host has set up its directories; off that thread it throws an
/// exception derived from std::logic_error and registers nothing.
extern "C" __attribute__((visibility("default"))) void
InjectConfigService(const std::shared_ptr<UnifiedFactory>& factory);
