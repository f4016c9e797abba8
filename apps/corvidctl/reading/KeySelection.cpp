#include "reading/KeySelection.h"

#include <algorithm>

#include "quill/StringUtils.h"
#include "reading/Glob.h"

namespace corvidctl {

KeySelection::KeySelection(const std::vector<std::string>& globs, const KeyNames& names) {
    for (const std::string& glob : globs) {
        const std::wstring pattern = QuillCoreUtils::toWideString(glob);
        patterns_.push_back(isPlainName(pattern) ? names.currentName(pattern) : pattern);
    }
}

bool KeySelection::contains(const std::wstring& key) const {
    return patterns_.empty() || std::any_of(patterns_.begin(), patterns_.end(),
                                            [&key](const std::wstring& pattern) { return globMatches(pattern, key); });
}

}  // namespace corvidctl
