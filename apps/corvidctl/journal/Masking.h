#pragma once

#include <string>

#include "journal/JournalBatch.h"

namespace corvidctl {

/// What stands for a text that must not be shown.
std::string mask();

/// Puts the mask in place of a change's texts, as far as there are any, and calls its key sensitive.
void maskTexts(JournalChange& change);

}  // namespace corvidctl
