#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "comparing/Contents.h"
#include "comparing/Delta.h"
#include "comparing/KeyChanges.h"
#include "fetching/FetchReport.h"
#include "output/MachineText.h"

/// The machine-readable forms of what the comparing commands say, as whole lines in the formats of MachineText.h.
namespace corvidctl::answers {

std::string delta(const std::vector<DeltaRow>& rows, bool reveal, Format format);

std::string differences(const std::vector<ContentsDifference>& differences, bool reveal, Format format);

std::string changes(const std::vector<KeyChange>& changes, Format format);

/// The object of a fetch, with what it would change.
std::string fetchRehearsal(const FetchView& view, const std::vector<KeyChange>& changes, Format format);

}  // namespace corvidctl::answers
