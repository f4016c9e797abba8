#pragma once

#include <string>
#include <vector>

#include "FetchReport.h"
#include "Provisioning.h"
#include "Views.h"
#include "demo/Demonstration.h"

namespace callcontrol {
struct ServedRequest;
}

/// The machine-readable forms, as scripts rely on them. Each is one text without a line end at its end; ill-formed
/// UTF-8 becomes U+FFFD, and control characters are escaped.
namespace corvidctl::json {

std::string value(const ValueView& view);
std::string values(const std::vector<ValueView>& views);
std::string explanation(const ExplanationView& view);
std::string stores(const std::vector<StoreView>& views);

/// One object on one line, for a stream.
std::string change(const ChangeView& view);
std::string fetch(const FetchView& view);
std::string request(const callcontrol::ServedRequest& request);
/// Whether a link was taken, and the keys that it set.
std::string provisioning(const ProvisioningView& view);
std::string dataReset(const DataResetView& view);
std::string report(const std::string& text);

/// An object for one file, an array for several.
std::string validations(const std::vector<ValidationView>& views);

/// Both fetches, the values after the first, what the client was told after the second, and after the user's change.
std::string demonstration(const DemonstrationView& view);

}  // namespace corvidctl::json
