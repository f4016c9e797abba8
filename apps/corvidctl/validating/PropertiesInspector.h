#pragma once

#include <string>
#include <vector>

#include "validating/Finding.h"
#include "xml/DocumentInspector.h"

namespace corvidctl {

/// What the module would make of a file of properties, and what its author should know.
struct PropertiesReport {
    std::vector<DocumentReport::Entry> entries;  ///< one for each key, where its value stands; never a nameless one
    std::vector<Finding> findings;
};

/// Whether a file of this name is read as properties: one that ends in ".properties", in any case.
bool isNamedProperties(const std::string& fileName);

/// Whether a file that no name tells anything of is most likely one of properties: it begins with no mark-up, is text,
/// and has a line with a colon.
bool looksLikeProperties(const std::string& contents);

/// Reads the contents of a file of properties as the module does: a key and a value on each line, parted by its first
/// colon; of several lines with a key, the last one counts. Where a key has swallowed a secret, for want of a colon, it
/// is cut and VALUE_HIDDEN stands in the secret's place.
PropertiesReport inspectProperties(const std::string& contents);

}  // namespace corvidctl
