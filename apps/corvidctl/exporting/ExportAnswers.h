#pragma once

#include <string>

#include "exporting/ExportView.h"
#include "output/Format.h"

namespace corvidctl::answers {

/// What was exported. The document itself is a member, unless it has gone to a file.
std::string exportation(const ExportView& view, Format format);

}  // namespace corvidctl::answers
