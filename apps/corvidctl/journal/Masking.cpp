#include "journal/Masking.h"

#include "ConfigStoreConstants.h"
#include "quill/StringUtils.h"

namespace corvidctl {

std::string mask() { return QuillCoreUtils::toString(ConfigStoreConstants::SENSITIVE_VALUE_REPLACEMENT); }

void maskTexts(JournalChange& change) {
    change.isSensitive = true;
    change.oldValue = change.oldStore.empty() ? std::string() : mask();
    change.newValue = change.newStore.empty() ? std::string() : mask();
}

}  // namespace corvidctl
