#pragma once

#include <string>

namespace corvidctl {

/// A key as it may be shown. A line of properties without a colon is a key from end to end, be it mark-up: where the
/// name of a secret stands in it as a word of its own, what is behind that may be its value and is masked.
std::string shownKey(const std::wstring& key, bool reveal = false);

/// Whether shownKey() masks a part of it. What stands behind a colon may be more of the secret.
bool holdsSecret(const std::wstring& key);

}  // namespace corvidctl
