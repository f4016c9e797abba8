#pragma once

#include <string>

namespace corvidctl {

/// A key as it may be shown. A line of properties without a colon is a key from end to end: where it begins with the
/// name of a secret, what was meant as its value is masked.
std::string shownKey(const std::wstring& key, bool reveal = false);

/// Whether shownKey() masks a part of it.
bool holdsSecret(const std::wstring& key);

}  // namespace corvidctl
