#pragma once

#include <string>
#include <vector>

#include "reading/ChainReader.h"

/// What the administrator's policies take from the user when the client starts. Dispatcher thread.
namespace corvidctl {

/// The policy that erases the key at a start, as "KEY is VALUE, from STORE"; empty if none does.
std::string policyAgainst(const std::wstring& key, const ChainReader& reader);

/// The user's keys that go at the next start because of what this key reads, under their current names; none if it is
/// no policy, or forbids nothing.
std::vector<std::string> keysErasedBy(const std::wstring& policyKey, const ChainReader& reader);

}  // namespace corvidctl
