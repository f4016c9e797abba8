#pragma once

#include <string>
#include <vector>

#include "demo/Demonstration.h"
#include "fetching/FetchReport.h"
#include "output/Format.h"
#include "output/MachineText.h"
#include "provisioning/Provisioning.h"
#include "reading/Views.h"

namespace callcontrol {
struct ServedRequest;
}

/// The machine-readable forms of what the commands say, as scripts rely on them: whole lines, in the formats of
/// MachineText.h.
namespace corvidctl::answers {

/// The value object, for an answer that says more of the key.
Json valueObject(const ValueView& view);
std::string value(const ValueView& view, Format format);
std::string values(const std::vector<ValueView>& views, Format format);

/// What stands before the first line of a stream; empty but for tab-separated lines.
std::string changeHeadings(Format format);
/// One line of a stream, whatever the format.
std::string change(const ChangeView& view, Format format);
std::string requestHeadings(Format format);
std::string request(const callcontrol::ServedRequest& request, Format format);

Json fetchObject(const FetchView& view);
std::string fetch(const FetchView& view, Format format);

/// Whether a link was taken, the keys that it set, and whether the command has reset a latch that was closed. Without a
/// link nothing is taken: the last is the answer then.
std::string provisioning(const ProvisioningView& view, Format format);
std::string dataReset(const DataResetView& view, Format format);
std::string report(const std::string& text, Format format);

/// Both fetches, the values after the first, what the client was told after the second, and after the user's change.
std::string demonstration(const DemonstrationView& view, Format format);

}  // namespace corvidctl::answers
