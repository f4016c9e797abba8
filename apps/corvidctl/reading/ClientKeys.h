#pragma once

#include <string>

namespace corvidctl {

/// True for a key that the client writes into the user's file by itself, and no user: the list of the stores of which
/// it keeps a copy. @param key UTF-8, in any case.
bool isKeptByClient(const std::string& key);

/// True for the key that reads as "false" in FIPS mode, whatever the stores hold. In any case.
bool isRuledByFipsMode(const std::wstring& key);

}  // namespace corvidctl
