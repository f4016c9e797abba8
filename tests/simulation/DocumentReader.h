#pragma once

#include <string>

#include "ModelTypes.h"

namespace simulation {

/// What a document gives, read from its tree as plainly as possible; shares no code with the module.
struct DocumentReading {
    ModelEntries entries;  ///< none of a document that is not well-formed

    /// False where the entries may be others than the module's by good right: under a document type, with names beyond
    /// ASCII, which are folded by tables, and with namespaces by the hundred.
    bool isExact = true;
};

/// The form of a server's file, which its copy, the override file and what a link has left have as well.
DocumentReading readServersForm(const std::string& text);

/// The form of the user's file and of the defaults.
/// @param movesVoicemailKey whether the old voicemail server is kept under its current name.
DocumentReading readUsersForm(const std::string& text, bool movesVoicemailKey);

}  // namespace simulation
